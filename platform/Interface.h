#pragma once

namespace quorvin {

// What the system, or the program towards the system, has to offer. Known by reference or pointer
// only, and never copied.
class Interface {
 public:
  Interface(const Interface&) = delete;
  Interface& operator=(const Interface&) = delete;
  virtual ~Interface() = default;

 protected:
  Interface() = default;
};

}  // namespace quorvin
