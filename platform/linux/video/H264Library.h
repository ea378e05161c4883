#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/linux/video/YuvFrame.h"

struct x264_t;

namespace quorvin {

// The library that does the encoding, set up for frames that are each decoded by itself. One
// thread at a time.
class H264Library {
 public:
  // The finest QP that is taken, and the coarsest of eight-bit H.264 (ITU-T H.264, 7.4.2.2).
  // Six steps double the width of what is rounded together.
  static constexpr int qpMin = 12;
  static constexpr int qpMax = 51;

  // What H.264 can express and a machine can hold.
  [[nodiscard]] static bool isEncodable(PixelSize size);

  // The size is that of the frames after padding. The rate, in frames a second, decides the
  // level that the stream claims and nothing else. Throws std::bad_alloc when the library cannot
  // be set up.
  H264Library(PixelSize size, int expectedRate);

  // NAL units, each after its length as four bytes, big-endian; valid until the next call. Empty
  // when encoding failed.
  [[nodiscard]] std::span<const std::uint8_t> encode(const YuvFrame& frame, int qp);
  // Without start code or length.
  [[nodiscard]] std::span<const std::uint8_t> sequenceParameterSet() const { return sequenceSet; }
  [[nodiscard]] std::span<const std::uint8_t> pictureParameterSet() const { return pictureSet; }

 private:
  struct Close {
    void operator()(x264_t* opened) const;
  };

  void readParameterSets();

  std::unique_ptr<x264_t, Close> encoder;
  std::vector<std::uint8_t> sequenceSet;
  std::vector<std::uint8_t> pictureSet;
  std::int64_t frames = 0;
};

}  // namespace quorvin
