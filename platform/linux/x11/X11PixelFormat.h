#pragma once

#include <cstdint>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// How the pixels of a screen lie in memory; all take 32 bits. The names say what follows from the
// highest bits to the lowest.
enum class X11PixelFormat {
  x8r8g8b8,     // what is delivered as it is
  x2r10g10b10,  // ten bits a colour, red highest
  x2b10g10r10,  // ten bits a colour, blue highest
};

// Throws Error when the root window's pixels are of another kind.
[[nodiscard]] X11PixelFormat rootPixelFormat(X11Connection& connection);

// Writes `width` by `height` pixels with 8 bits a colour, blue first. Strides are in bytes. The
// areas must not overlap.
void convertPixels(X11PixelFormat format, const std::uint8_t* source, std::size_t sourceStride,
                   std::uint8_t* target, std::size_t targetStride, int width, int height);

}  // namespace quorvin
