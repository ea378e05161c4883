#include "platform/linux/input/GuardianJournal.h"

#include <algorithm>

namespace quorvin {

void GuardianJournal::prepare() {
  if (guardian == nullptr) start();
}

bool GuardianJournal::willPressButton(std::uint8_t button) {
  return announce({InputChange::pressButton, button});
}

bool GuardianJournal::willPressKey(std::uint8_t keycode) {
  return announce({InputChange::pressKey, keycode});
}

bool GuardianJournal::willBindKey(std::uint8_t keycode) {
  return announce({InputChange::bindKey, keycode});
}

void GuardianJournal::didUnbindKey(std::uint8_t keycode) {
  const InputRecord record{InputChange::unbindKey, keycode};
  held.note(record);
  static_cast<void>(tell(journalMessage(record)));
}

bool GuardianJournal::announce(InputRecord record) {
  const auto message = journalMessage(record);
  if (!tell(message)) {
    prepare();
    if (!tell(message)) return false;
  }
  const auto patienceLeft = std::chrono::ceil<std::chrono::milliseconds>(readyBy - Clock::now());
  if (!guardian->isReadyWithin(std::max(patienceLeft, {}))) return false;
  held.note(record);
  return true;
}

bool GuardianJournal::tell(const JournalMessage& message) {
  if (guardian == nullptr) return false;
  if (guardian->send(message)) return true;
  lose();
  return false;
}

void GuardianJournal::start() {
  const auto now = Clock::now();
  if (now < mayStart) return;
  mayStart = std::max(mayStart + startInterval, now);
  guardian = GuardianProcess::start(program, held.asMessage());
  if (guardian == nullptr) return;
  readyBy = now + patience;
  lossWatch = MainLoopSource::onDescriptor(context, guardian->descriptor(), G_IO_HUP, [this] {
    lose();
    return MainLoopSource::Next::finished;
  });
}

void GuardianJournal::lose() {
  lossWatch.cancel();
  // One that is only stuck would take the end of its socket for the end of this process.
  guardian->kill();
  guardian.reset();
  if (held.isEmpty()) return;
  start();
  if (guardian != nullptr) return;
  const auto pause = std::chrono::ceil<std::chrono::milliseconds>(mayStart - Clock::now());
  nextStart =
      MainLoopSource::onTimeout(context, std::max(pause, std::chrono::milliseconds(0)), [this] {
        if (guardian == nullptr && !held.isEmpty()) start();
        return MainLoopSource::Next::finished;
      });
}

}  // namespace quorvin
