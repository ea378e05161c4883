#pragma once

#include <stdexcept>

namespace quorvin {

// Why the application cannot start on this system; one line for whoever started it.
class StartUpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quorvin
