#include "webui/delta/SegmentedJpeg.h"

#include <algorithm>
#include <utility>

#include "platform/unix/JpegMarkers.h"

namespace quorvin::webui {

namespace {

constexpr std::uint8_t baselineFrame = 0xC0;    // SOF0
constexpr std::uint8_t restartInterval = 0xDD;  // DRI
constexpr std::size_t blockSidePx = 8;

std::size_t numberAt(std::span<const std::uint8_t> bytes, std::size_t position) {
  return std::size_t{256} * bytes[position] + bytes[position + 1];
}

std::size_t ceilingOf(std::size_t dividend, std::size_t divisor) {
  return (dividend + divisor - 1) / divisor;
}

// What the header says of the grid; zero where it says nothing.
struct Grid {
  std::size_t mcusAcross = 0;
  std::size_t mcuRows = 0;
  std::size_t intervalMcus = 0;

  // 0 where the segments do not end with the rows.
  [[nodiscard]] std::size_t segments() const {
    if (mcusAcross == 0 || intervalMcus == 0 || mcusAcross % intervalMcus != 0) return 0;
    return mcusAcross / intervalMcus * mcuRows;
  }
};

// B.2.2: behind length and precision height, width, and three bytes for each component.
void readFrame(std::span<const std::uint8_t> segment, Grid& grid) {
  constexpr std::size_t componentsAt = 8;
  constexpr std::size_t componentBytes = 3;
  if (segment.size() < componentsAt) return;
  std::size_t across = 0;
  std::size_t down = 0;
  for (std::size_t at = componentsAt; at + componentBytes <= segment.size(); at += componentBytes) {
    across = std::max<std::size_t>(across, segment[at + 1] >> 4U);
    down = std::max<std::size_t>(down, segment[at + 1] & 0x0FU);
  }
  if (across == 0 || down == 0) return;
  grid.mcusAcross = ceilingOf(numberAt(segment, 5), across * blockSidePx);
  grid.mcuRows = ceilingOf(numberAt(segment, 3), down * blockSidePx);
}

// The marker segments of a header whose lengths are known to be sound.
Grid gridOf(std::span<const std::uint8_t> header) {
  Grid grid;
  for (std::size_t at = markerBytes; at + markerBytes + 2 <= header.size();) {
    const auto marker = header[at + 1];
    const auto segment =
        header.subspan(at + markerBytes)
            .first(std::min(numberAt(header, at + markerBytes), header.size() - at - markerBytes));
    if (marker == baselineFrame) readFrame(segment, grid);
    if (marker == restartInterval && segment.size() >= 4) grid.intervalMcus = numberAt(segment, 2);
    at += markerBytes + segment.size();
    if (segment.empty()) break;
  }
  return grid;
}

}  // namespace

std::shared_ptr<const SegmentedJpeg> SegmentedJpeg::parse(
    Data payload, const std::shared_ptr<const SegmentedJpeg>& before) {
  constexpr std::uint8_t startOfImage = 0xD8;
  const auto bytes = payload.bytes();
  if (bytes.size() < markerBytes || bytes[0] != 0xFF || bytes[1] != startOfImage) return nullptr;
  auto parsed = std::make_shared<SegmentedJpeg>();
  parsed->headerBytes = findCodedData(bytes);
  parsed->bytes = std::move(payload);
  if (parsed->headerBytes == 0) return nullptr;
  const std::size_t count = gridOf(parsed->header()).segments();
  if (count == 0 || count > segmentsMax) return nullptr;
  parsed->ends.resize(count);
  const bool isAlike = before && std::ranges::equal(before->header(), parsed->header());
  if (!parsed->findSegments(isAlike ? before.get() : nullptr)) return nullptr;
  if (isAlike) parsed->comparedWith = before;
  return parsed;
}

// Bytes that are those of a whole segment end where that does, since no marker is within.
bool SegmentedJpeg::findSegments(const SegmentedJpeg* before) {
  const auto coded = bytes.bytes().subspan(headerBytes);
  std::size_t begin = 0;
  for (std::size_t i = 0; i < ends.size(); ++i) {
    const auto known = before != nullptr ? before->segment(i) : std::span<const std::uint8_t>();
    const auto rest = coded.subspan(begin);
    if (!known.empty() && known.size() <= rest.size() &&
        std::ranges::equal(known, rest.first(known.size()))) {
      begin += known.size();
    } else {
      begin = findEnd(coded, begin, i, ends.size());
      if (begin == 0) return false;
      changes.push_back(i);
    }
    ends[i] = begin;
  }
  return begin == coded.size();
}

std::span<const std::uint8_t> SegmentedJpeg::segment(std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : ends[index - 1];
  return bytes.bytes().subspan(headerBytes + begin, ends[index] - begin);
}

std::vector<std::size_t> SegmentedJpeg::changesSince(const SegmentedJpeg& base) const {
  if (comparedWith.lock().get() == &base) return changes;
  std::vector<std::size_t> changed;
  for (std::size_t i = 0; i < count(); ++i) {
    if (!std::ranges::equal(base.segment(i), segment(i))) changed.push_back(i);
  }
  return changed;
}

}  // namespace quorvin::webui
