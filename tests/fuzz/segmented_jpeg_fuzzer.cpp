// Any payload: its segments are found without reading beyond it, and put together again they are
// the payload. An altered one's are the same whether it is compared with the payload or not.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "webui/delta/FrameDelta.h"

namespace {

using quorvin::Bytes;
using quorvin::Data;
using quorvin::webui::SegmentedJpeg;

bool areEqual(const SegmentedJpeg& one, const SegmentedJpeg& other, const SegmentedJpeg& base) {
  if (one.count() != other.count()) return false;
  for (std::size_t i = 0; i < one.count(); ++i) {
    if (!std::ranges::equal(one.segment(i), other.segment(i))) return false;
  }
  return one.count() != base.count() || one.changesSince(base) == other.changesSince(base);
}

void checkAltered(const std::shared_ptr<const SegmentedJpeg>& base, const Bytes& altered) {
  const auto alone = SegmentedJpeg::parse(Data(altered));
  const auto compared = SegmentedJpeg::parse(Data(altered), base);
  if ((alone == nullptr) != (compared == nullptr)) std::abort();
  if (alone && !areEqual(*alone, *compared, *base)) std::abort();
}

// At a place in the coded data that the bytes themselves choose.
void checkAlterations(const std::shared_ptr<const SegmentedJpeg>& base, const Bytes& file) {
  const auto begin = base->header().size();
  const auto place =
      begin + (std::size_t{256} * file[begin] + file.at(file.size() / 2)) % (file.size() - begin);
  Bytes altered = file;
  for (const auto byte : std::array<std::uint8_t, 3>{0x00, 0xD0, 0xFF}) {
    altered[place] = byte;
    checkAltered(base, altered);
  }
  altered.insert(altered.begin() + static_cast<std::ptrdiff_t>(place), 7);
  checkAltered(base, altered);
  altered.erase(altered.begin() + static_cast<std::ptrdiff_t>(begin));
  checkAltered(base, altered);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes payload(data, data + size);
  const auto parsed = SegmentedJpeg::parse(Data(payload));
  if (!parsed) return 0;
  Bytes joined(parsed->header().begin(), parsed->header().end());
  for (std::size_t i = 0; i < parsed->count(); ++i) {
    const auto segment = parsed->segment(i);
    joined.insert(joined.end(), segment.begin(), segment.end());
  }
  if (joined != payload) std::abort();
  const auto delta = quorvin::webui::deltaBetween(*parsed, *parsed, 1);
  if (delta && delta->size() != 16) std::abort();
  checkAlterations(parsed, payload);
  return 0;
}
