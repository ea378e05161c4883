#include "webui/delta/FrameDelta.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace quorvin::webui {

namespace {

constexpr std::size_t headBytes = 16;
constexpr std::size_t entryBytes = 8;

void append(Bytes& bytes, std::size_t number) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }
}

void append(Bytes& bytes, std::span<const std::uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

// Beyond three quarters of the file the receiver would spend more on putting it together than the
// rest of it costs on the way.
bool pays(std::size_t deltaBytes, std::size_t fileBytes) {
  return deltaBytes < fileBytes / 4 * 3;
}

}  // namespace

std::optional<Bytes> deltaBetween(const SegmentedJpeg& base, const SegmentedJpeg& next,
                                  std::uint32_t baseNumber) {
  if (base.count() != next.count() || !std::ranges::equal(base.header(), next.header())) return {};
  const auto changed = next.changesSince(base);
  std::size_t size = headBytes + changed.size() * entryBytes;
  for (const std::size_t i : changed) size += next.segment(i).size();
  if (!pays(size, next.file().size())) return {};
  Bytes delta{'Q', 'N', 'D', 'J'};
  delta.reserve(size);
  append(delta, baseNumber);
  append(delta, next.count());
  append(delta, changed.size());
  for (const std::size_t i : changed) {
    append(delta, i);
    append(delta, next.segment(i).size());
  }
  for (const std::size_t i : changed) append(delta, next.segment(i));
  return delta;
}

Data FrameDeltas::next(const Data& payload, std::shared_ptr<const SegmentedJpeg> segments) {
  const auto base = std::exchange(last, std::move(segments));
  const auto baseNumber = sent++;
  auto delta = base && last ? deltaBetween(*base, *last, baseNumber) : std::nullopt;
  return delta ? Data(std::move(*delta)) : payload;
}

}  // namespace quorvin::webui
