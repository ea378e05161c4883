#include "tests/macos/standin/VirtualClock.h"

#include <utility>

namespace standin {

VirtualClock::AlarmId VirtualClock::addAlarm(std::uint64_t due, std::function<void()> alarm) {
  const std::lock_guard guard(mutex);
  // The second number keeps alarms for the same instant in the order in which they were set.
  const AlarmId id{due, ++alarmsMade};
  alarms.emplace(id, std::move(alarm));
  return id;
}

void VirtualClock::removeAlarm(const AlarmId& id) {
  const std::lock_guard guard(mutex);
  alarms.erase(id);
}

std::size_t VirtualClock::alarmCount() const {
  const std::lock_guard guard(mutex);
  return alarms.size();
}

std::optional<std::function<void()>> VirtualClock::moveTowards(std::uint64_t limit) {
  const std::lock_guard guard(mutex);
  if (alarms.empty() || alarms.begin()->first.first > limit) {
    time = limit;
    return std::nullopt;
  }
  auto next = alarms.extract(alarms.begin());
  time = next.key().first;
  return std::move(next.mapped());
}

void VirtualClock::reset() {
  // Alarms end outside the lock, for what they hold may use the clock.
  std::map<AlarmId, std::function<void()>> dropped;
  {
    const std::lock_guard guard(mutex);
    dropped.swap(alarms);
    time = start;
  }
}

VirtualClock& virtualClock() {
  static auto& theClock = *new VirtualClock;
  return theClock;
}

}  // namespace standin
