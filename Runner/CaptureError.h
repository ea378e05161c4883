#pragma once

#include "platform/Error.h"

namespace quorvin {

inline constexpr auto captureErrorDomain = "com.quorvin.support.capture";

[[nodiscard]] inline Error noDisplayError() {
  return {captureErrorDomain, 1, "No display is available to share."};
}

[[nodiscard]] inline Error captureStoppedError() {
  return {captureErrorDomain, 2, "Support was stopped."};
}

[[nodiscard]] inline Error captureStalledError() {
  return {captureErrorDomain, 3, "ScreenCaptureKit stopped delivering capture samples."};
}

}  // namespace quorvin
