#pragma once

#include <string>
#include <system_error>

#include "platform/Error.h"

namespace quorvin {

// As in "/home/me/notes.txt could not be removed: Permission denied."
[[nodiscard]] inline Error posixError(const std::string& path, const std::string& what,
                                      const std::error_code& code) {
  return {"com.quorvin.support.posix", code.value(),
          path + " could not be " + what + ": " + code.message() + "."};
}

[[nodiscard]] inline Error posixError(const std::string& path, const std::string& what,
                                      int errorNumber) {
  return posixError(path, what, std::error_code(errorNumber, std::generic_category()));
}

}  // namespace quorvin
