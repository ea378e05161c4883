#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/Data.h"

namespace quorvin {

// The sequence's and the picture's parameter set, without start codes; empty where there is none.
using H264ParameterSets = std::array<std::optional<std::span<const std::uint8_t>>, 2>;

// Turns NAL units, each after its length as four bytes, big-endian (ISO/IEC 14496-15), into a byte
// stream (ITU-T H.264, Annex B): a start code of four bytes takes the place of each length, so that
// no byte has to move. Returns how long the stream is; fewer than four bytes left over at the end
// are no part of it. Nothing, and `units` spoilt, when a length is 0 or leads past the end.
[[nodiscard]] std::optional<std::size_t> convertToByteStream(std::span<std::uint8_t> units);

// Puts together what the user interface gets of one frame, in one piece of memory into which the
// encoder's bytes are copied once:
//
//   offset  bytes
//        0      4  "QNH2"
//        4      1  1 for a key frame, otherwise 0
//        5      1  0
//        6      2  width in pixels, big-endian
//        8      2  height likewise
//       10      2  0
//       12         a byte stream: the parameter sets, then the units of the frame
class H264PayloadBuilder {
 public:
  H264PayloadBuilder(const H264ParameterSets& parameterSets, std::size_t unitsLength);

  // Where the units go, each after its length. All of it has to be written before `finish`.
  [[nodiscard]] std::span<std::uint8_t> units();
  // Nothing when the units are malformed, when there is neither a unit nor a parameter set, or when
  // a size does not fit into its two bytes; a negative size stops the process.
  [[nodiscard]] std::optional<Data> finish(bool isKeyFrame, std::int64_t width,
                                           std::int64_t height) &&;

 private:
  std::size_t unitsOffset;
  std::size_t unitsLength;
  std::shared_ptr<std::uint8_t[]> storage;
};

}  // namespace quorvin
