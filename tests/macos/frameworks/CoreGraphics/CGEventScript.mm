#import <CoreGraphics/CGEventScript.h>

#include <map>
#include <mutex>
#include <utility>

namespace standin {
namespace {

struct Script {
  std::map<EventCreation, std::size_t> failures;
  std::vector<PostedEvent> posted;
};

std::mutex& mutex() {
  static std::mutex guard;
  return guard;
}

// Guarded by the mutex.
Script& script() {
  static Script current;
  return current;
}

void print(const MouseEvent& event, std::ostream& out) {
  out << "mouse event " << event.type << " at (" << event.x << ", " << event.y << ") of button "
      << event.button;
}

void print(const ScrollEvent& event, std::ostream& out) {
  out << "scroll event in units " << event.units << " of wheels";
  for (const auto wheel : event.wheels) out << " " << wheel;
}

void print(const KeyEvent& event, std::ostream& out) {
  out << "key " << event.virtualKey << (event.isDown ? " down" : " up");
}

}  // namespace

bool creationFails(EventCreation creation) {
  const std::lock_guard lock(mutex());
  auto& failures = script().failures[creation];
  if (failures == 0) return false;
  --failures;
  return true;
}

void keepPosted(const PostedEvent& event) {
  const std::lock_guard lock(mutex());
  script().posted.push_back(event);
}

void resetEvents() {
  const std::lock_guard lock(mutex());
  script() = {};
  flagsOfNewEvents = 0;
}

std::vector<PostedEvent> takePostedEvents() {
  const std::lock_guard lock(mutex());
  return std::exchange(script().posted, {});
}

void failNext(EventCreation creation, std::size_t times) {
  const std::lock_guard lock(mutex());
  script().failures[creation] += times;
}

void PrintTo(const PostedEvent& event, std::ostream* out) {
  std::visit([out](const auto& content) { print(content, *out); }, event.content);
  for (const auto& [field, value] : event.fields) *out << ", field " << field << " = " << value;
  if (event.flags) *out << ", flags " << std::hex << *event.flags << std::dec;
  if (event.source) {
    *out << ", source of state " << *event.source;
  } else {
    *out << ", no source";
  }
  *out << ", tap " << event.tap;
}

}  // namespace standin
