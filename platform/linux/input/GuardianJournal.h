#pragma once

#include <glib.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/linux/input/GuardianProcess.h"
#include "platform/linux/input/InputJournal.h"
#include "platform/unix/HeldInput.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin {

// Has a process of its own, the guardian, undo what is held when this process ends, however it
// does.
//
// The guardian is started before anything is pressed. One that is gone, or reads no more, is
// replaced by another at once, which is told all that may be held. In the long run there is not
// more than one start in `startInterval`, so that one that cannot live costs no more than that.
// Without a guardian that is ready nothing is pressed or bound. Belongs to the thread that serves
// the context.
class GuardianJournal final : public InputJournal {
 public:
  static constexpr auto startInterval = std::chrono::seconds(1);
  // For a guardian that was just started to be ready.
  static constexpr auto patience = std::chrono::milliseconds(1000);

  GuardianJournal(GMainContext* context, std::string program)
      : context(context), program(std::move(program)) {}

  void prepare() override;
  [[nodiscard]] bool willPressButton(std::uint8_t button) override;
  [[nodiscard]] bool willPressKey(std::uint8_t keycode) override;
  [[nodiscard]] bool willBindKey(std::uint8_t keycode) override;
  void didUnbindKey(std::uint8_t keycode) override;

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] bool announce(InputRecord record);
  // False when there is no guardian, or none any more.
  [[nodiscard]] bool tell(const JournalMessage& message);
  // Starts a guardian that knows all that is held, if it can and may.
  void start();
  // Replaces the guardian, at once or as soon as it may, if anything is held.
  void lose();

  GMainContext* const context;
  const std::string program;
  HeldInput held;
  std::unique_ptr<GuardianProcess> guardian;
  Clock::time_point mayStart;  // at once, and once more before the next interval begins
  Clock::time_point readyBy;   // of the last one; it is waited for until then
  MainLoopSource lossWatch;
  MainLoopSource nextStart;
};

}  // namespace quorvin
