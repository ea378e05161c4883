#pragma once

#include <cstddef>
#include <deque>
#include <optional>

#include "platform/linux/input/LinuxInputEvent.h"

namespace quorvin {

// What is to be posted, in order, with an end to how much of it can wait: of moves in a row the
// newest is enough, and when it is full only releases are let in, each of them once. So whatever
// was let in as pressed is released in the end.
class InputQueue {
 public:
  static constexpr std::size_t limit = 4096;

  void push(const LinuxInputEvent::Record& record);
  [[nodiscard]] std::optional<LinuxInputEvent::Record> take();
  // Keeps nothing but the releases.
  void forgetNews();
  void clear() { records.clear(); }
  [[nodiscard]] bool isEmpty() const { return records.empty(); }

 private:
  [[nodiscard]] bool hasBeyondLimit(int release) const;

  std::deque<LinuxInputEvent::Record> records;
};

}  // namespace quorvin
