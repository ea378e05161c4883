#pragma once

#include <glib.h>
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/linux/input/InputJournal.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/HeldInput.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin {

// A started quorvin-input-guardian. It takes the end of its socket for the end of this process, and
// lives on in a session of its own, so that whoever ends a group of processes does not reach it.
// One thread.
class GuardianProcess {
 public:
  // Null when the program cannot be started. The message, if there is one, awaits it from its first
  // moment on: this process may end in the next.
  [[nodiscard]] static std::unique_ptr<GuardianProcess> start(
      const std::string& program, std::span<const std::uint8_t> message = {});
  GuardianProcess(const GuardianProcess&) = delete;
  GuardianProcess& operator=(const GuardianProcess&) = delete;
  // Lets it undo what it knows of.
  ~GuardianProcess() = default;

  // Hung up when it is gone.
  [[nodiscard]] int descriptor() const { return socket.get(); }
  // Whether it has said that it is ready to do its part.
  [[nodiscard]] bool isReadyWithin(std::chrono::milliseconds limit);
  // False when it is gone or has stopped reading; does not wait.
  [[nodiscard]] bool send(std::span<const std::uint8_t> message);
  // Ends it before it can undo anything.
  void kill();

 private:
  GuardianProcess(pid_t process, FileDescriptor socket)
      : process(process), socket(std::move(socket)) {}

  pid_t process;
  FileDescriptor socket;
  bool isReady = false;
};

// The journal of a separate process, the guardian, which undoes what is held when this process ends
// in whatever way.
//
// Nothing is pressed or bound unless a guardian is ready. A guardian that is gone, or reads no
// more, is replaced at once, and its replacement is told all that may be held. On average there is
// at most one start in `startInterval`, also when no guardian can live. Belongs to the thread that
// serves the context.
class GuardianJournal final : public InputJournal {
 public:
  static constexpr auto startInterval = std::chrono::seconds(1);
  // For a guardian that was just started to be ready.
  static constexpr auto readyTimeout = std::chrono::milliseconds(1000);

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
