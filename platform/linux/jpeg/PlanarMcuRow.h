#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/linux/jpeg/JpegForm.h"

namespace quorvin {

// The pixels of an MCU row in brightness and colour (JFIF's, that is BT.601 in full range), as
// libjpeg takes them: colour at half the resolution both ways, rows of whole blocks. What lies
// beyond the picture repeats its last pixels. libyuv makes it of the pixels in a third of the time
// that libjpeg needs, and may be a level off where libjpeg is not.
//
// Lives in memory that is given to it, and needs no destructor.
class PlanarMcuRow {
 public:
  [[nodiscard]] static std::size_t bytesFor(int widthPx);

  PlanarMcuRow() = default;
  PlanarMcuRow(std::uint8_t* memory, int widthPx);

  // Of four bytes each: blue, green, red and one more. At most `mcuSidePx` rows.
  void take(const std::uint8_t* pixels, std::size_t strideBytes, int rowCount);

  // For each of the three components the beginnings of its rows.
  [[nodiscard]] std::array<std::uint8_t**, 3> components() {
    return {brightness.data(), blue.data(), red.data()};
  }

 private:
  static constexpr int colourRows = mcuSidePx / 2;

  int widthPx = 0;
  int strideBytes = 0;  // of brightness; that of colour is half of it
  std::array<std::uint8_t*, mcuSidePx> brightness{};
  std::array<std::uint8_t*, colourRows> blue{};
  std::array<std::uint8_t*, colourRows> red{};
};

}  // namespace quorvin
