#include "platform/linux/input/InputQueue.h"

#include <algorithm>
#include <iterator>
#include <variant>

namespace quorvin {

namespace {

bool isMove(const LinuxInputEvent::Record& record) {
  const auto* mouse = std::get_if<MouseRecord>(&record);
  return mouse != nullptr && !mouse->isPress() && !mouse->isRelease();
}

// Which key or button it releases, if any.
std::optional<int> released(const LinuxInputEvent::Record& record) {
  if (const auto* key = std::get_if<KeyRecord>(&record); key != nullptr && !key->isDown) {
    return key->virtualKey;
  }
  if (const auto* mouse = std::get_if<MouseRecord>(&record);
      mouse != nullptr && mouse->isRelease()) {
    return -1 - static_cast<int>(mouse->button);
  }
  return {};
}

}  // namespace

void InputQueue::push(const LinuxInputEvent::Record& record) {
  if (isMove(record) && !records.empty() && isMove(records.back())) {
    records.back() = record;
    return;
  }
  if (records.size() >= limit) {
    const auto release = released(record);
    if (!release || hasBeyondLimit(*release)) return;
  }
  records.push_back(record);
}

std::optional<LinuxInputEvent::Record> InputQueue::take() {
  if (records.empty()) return {};
  const auto first = records.front();
  records.pop_front();
  return first;
}

void InputQueue::forgetNews() {
  std::erase_if(records, [](const auto& record) { return !released(record); });
}

// What lies beyond came after the last press that was let in.
bool InputQueue::hasBeyondLimit(int release) const {
  return std::any_of(std::next(records.begin(), limit), records.end(),
                     [release](const auto& record) { return released(record) == release; });
}

}  // namespace quorvin
