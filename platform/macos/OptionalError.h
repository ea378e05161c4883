#pragma once

#include <optional>

#include "platform/macos/Bridging.h"

namespace quorvin {

// For completion handlers, to which nil says that there was no error.
inline std::optional<Error> toOptionalError(NSError* _Nullable error) {
  if (error == nil) return std::nullopt;
  return toError(error);
}

}  // namespace quorvin
