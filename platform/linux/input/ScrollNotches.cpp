#include "platform/linux/input/ScrollNotches.h"

#include <algorithm>

namespace quorvin {

std::int32_t ScrollNotches::add(std::int32_t pixels) {
  remainder += std::clamp(pixels, -maximumDistance, maximumDistance);
  const std::int32_t notches = remainder / pixelsPerNotch;
  remainder -= notches * pixelsPerNotch;
  return notches;
}

}  // namespace quorvin
