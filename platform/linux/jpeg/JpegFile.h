#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/Data.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {

// Segments that follow each other in memory, each with the marker behind it. Segment i is what lies
// from `offsets[i]` up to `offsets[i + 1]`, counted from `origin`.
struct Segments {
  const std::uint8_t* origin = nullptr;
  std::span<const std::size_t> offsets;

  [[nodiscard]] std::size_t count() const { return offsets.size() - 1; }
  [[nodiscard]] std::size_t sizeBytes() const { return offsets.back() - offsets.front(); }
};

// A rectangle of segments, coded in one go: libjpeg needs as long to begin as it does for a tenth
// of a row of a large screen. Reused from frame to frame. One thread at a time.
class CodedRect {
 public:
  // False when memory is exhausted.
  [[nodiscard]] bool code(const CapturedFrame& frame, const JpegParams& params,
                          const SegmentRect& rect);

  // Of the last `code` that came true, and up to the next.
  [[nodiscard]] const SegmentRect& position() const { return coded; }
  // The segments of one of its MCU rows, counted from 0.
  [[nodiscard]] Segments row(int number) const;

  [[nodiscard]] std::size_t capacityBytes() const { return bytes.capacityBytes(); }
  void releaseSpare() { static_cast<void>(bytes.setCapacity(bytes.written().size())); }

 private:
  [[nodiscard]] bool findOffsets();

  SegmentRect coded;
  ByteBuffer bytes;                  // a file of its own
  std::vector<std::size_t> offsets;  // as in Segments
};

// A finished file, and where in it each segment begins; the last entry is where it ends.
struct JpegFile {
  Data bytes;
  std::size_t capacityBytes = 0;  // of the memory it is in
  std::vector<std::size_t> offsets;

  // From `first` up to `end` - 1.
  [[nodiscard]] Segments segments(std::size_t first, std::size_t end) const;
};

// Puts a file together out of all its segments, in their order. Restart markers depend on nothing
// but the segment's place in the file and are written as that wants them. Throws std::bad_alloc.
[[nodiscard]] JpegFile assembleJpeg(std::span<const std::uint8_t> header,
                                    const std::vector<Segments>& pieces, FrameBufferPool& buffers);

// ITU-T T.81, B.1.1.2: a marker is FF and a byte that is neither 00 nor FF. In coded data every FF
// has a 00 behind it, so that the markers in it are found without decoding anything.
inline constexpr std::size_t markerBytes = 2;

// The second byte of what stands behind a segment of a file that has `segments` of them: one of
// eight restart markers in turn, or EOI.
[[nodiscard]] constexpr std::uint8_t markerBehind(std::size_t segment, std::size_t segments) {
  constexpr std::uint8_t firstRestart = 0xD0;
  constexpr std::uint8_t endOfImage = 0xD9;
  if (segment + 1 == segments) return endOfImage;
  return static_cast<std::uint8_t>(firstRestart + segment % 8);
}

// Where the coded data of a file begins, behind SOS; what stands in front of it tells its length
// itself (B.1.1.4). 0 when there is no such place.
[[nodiscard]] std::size_t findCodedData(std::span<const std::uint8_t> file);

// Where so many segments end, each with the marker behind it. False when what is found are not just
// their markers.
[[nodiscard]] bool findEnds(std::span<const std::uint8_t> coded, std::span<std::size_t> ends);

}  // namespace quorvin
