#pragma once

#import <CoreVideo/CoreVideoControl.h>
#include <turbojpeg.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace standin {

// What somebody who receives a JPEG file would see.
struct DecodedJpeg {
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> pixels;  // red, green, blue

  [[nodiscard]] Colour at(std::size_t x, std::size_t y) const {
    const auto offset = (y * width + x) * 3;
    return {pixels[offset], pixels[offset + 1], pixels[offset + 2]};
  }
};

// Empty when the bytes are no complete JPEG file.
inline std::optional<DecodedJpeg> decodeJpeg(std::span<const std::uint8_t> file) {
  const std::unique_ptr<void, int (*)(void*)> decompressor(tjInitDecompress(), tjDestroy);
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colourSpace = 0;
  if (tjDecompressHeader3(decompressor.get(), file.data(), file.size(), &width, &height,
                          &subsampling, &colourSpace) != 0) {
    return {};
  }
  DecodedJpeg decoded{static_cast<std::size_t>(width), static_cast<std::size_t>(height), {}};
  decoded.pixels.resize(decoded.width * decoded.height * 3);
  if (tjDecompress2(decompressor.get(), file.data(), file.size(), decoded.pixels.data(), width, 0,
                    height, TJPF_RGB, TJFLAG_STOPONWARNING) != 0) {
    return {};
  }
  return decoded;
}

// Whether two colours are as alike as a lossy file keeps them.
inline bool isClose(Colour left, Colour right) {
  const auto differs = [](std::uint8_t a, std::uint8_t b) {
    return a > b + 12 || b > a + 12;
  };
  return !differs(left.red, right.red) && !differs(left.green, right.green) &&
         !differs(left.blue, right.blue);
}

}  // namespace standin
