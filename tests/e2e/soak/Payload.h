#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// What a frame is sent as.
struct PayloadKind {
  bool isH264 = false;
  PixelSize size;

  friend bool operator==(const PayloadKind&, const PayloadKind&) = default;
};

[[nodiscard]] std::string textOf(const PayloadKind& kind);

// A frame as its receiver sees it.
class DecodedPayload {
 public:
  DecodedPayload(PayloadKind kind, std::vector<std::uint8_t> bytes)
      : kind(kind), bytes(std::move(bytes)) {}

  // Those of ITU-R BT.709 in limited range, row by row.
  [[nodiscard]] std::vector<std::uint8_t> lumas() const;

  PayloadKind kind;

 private:
  // Of H.264 the lumas, of JPEG pixels of four bytes, blue first.
  std::vector<std::uint8_t> bytes;
};

// Decodes one payload alone, with decoders that others have written. Throws std::runtime_error
// when it is not a whole frame of the kind that it says it is.
[[nodiscard]] DecodedPayload decodePayload(std::span<const std::uint8_t> payload);

// The lumas of 0xRRGGBB pixels.
[[nodiscard]] std::vector<std::uint8_t> lumasOf(std::span<const std::uint32_t> pixels);

// The lowest peak signal to noise ratio, in decibels, that a band of 16 rows has: a part of a
// frame that was forgotten does not drown in the rest of it.
[[nodiscard]] double worstBandPsnr(std::span<const std::uint8_t> lumas,
                                   std::span<const std::uint8_t> original, PixelSize size);

}  // namespace quorvin
