#include "platform/linux/jpeg/RestartMarkers.h"

#include <cstring>

namespace quorvin {

void findMcuRows(std::span<const std::uint8_t> coded, std::vector<std::size_t>& bounds) {
  bounds.assign(1, 0);
  std::size_t from = 0;
  while (from + markerBytes <= coded.size()) {
    const auto* found = static_cast<const std::uint8_t*>(
        std::memchr(coded.data() + from, 0xFF, coded.size() - from - 1));
    if (found == nullptr) return;
    from = static_cast<std::size_t>(found - coded.data()) + markerBytes;
    if (found[1] != 0) bounds.push_back(from);
  }
}

}  // namespace quorvin
