#include "platform/linux/x11/DisplayAttempt.h"

#include <condition_variable>
#include <system_error>
#include <utility>

#include "platform/Error.h"
#include "platform/Mutex.h"

namespace quorvin {

struct DisplayAttempt::Outcome {
  std::condition_variable changed;
  Mutex mutex;
  bool isOver QUORVIN_GUARDED_BY(mutex) = false;
  bool isWanted QUORVIN_GUARDED_BY(mutex) = true;
  std::unique_ptr<X11Connection> connection QUORVIN_GUARDED_BY(mutex);
};

DisplayAttempt::DisplayAttempt(const std::string& display, Prepare prepare)
    : outcome(std::make_shared<Outcome>()) {
  try {
    thread = std::thread([outcome = outcome, display, prepare = std::move(prepare)] {
      make(outcome, display, prepare);
    });
  } catch (const std::system_error&) {
    // Over before it began, without a connection.
    outcome->isOver = true;
  }
}

DisplayAttempt::~DisplayAttempt() {
  bool isOver = false;
  {
    const MutexLock lock(outcome->mutex);
    outcome->isWanted = false;
    isOver = outcome->isOver;
  }
  if (!thread.joinable()) return;
  if (isOver) {
    thread.join();
  } else {
    // Nothing ends the wait inside libxcb; the thread holds nothing but its own attempt.
    thread.detach();
  }
}

void DisplayAttempt::make(const std::shared_ptr<Outcome>& outcome, const std::string& display,
                          const Prepare& prepare) {
  std::unique_ptr<X11Connection> connection;
  try {
    connection = std::make_unique<X11Connection>(display);
    if (!prepare(*connection)) connection.reset();
  } catch (const Error&) {
    // That there is no connection is all there is to know about it.
  }
  const MutexLock lock(outcome->mutex);
  outcome->isOver = true;
  if (outcome->isWanted) outcome->connection = std::move(connection);
  outcome->changed.notify_all();
}

bool DisplayAttempt::isOverWithin(std::chrono::milliseconds limit) {
  MutexLock lock(outcome->mutex);
  return outcome->changed.wait_until(
      lock.forWaiting(), std::chrono::steady_clock::now() + limit,
      [this]() QUORVIN_REQUIRES(outcome->mutex) { return outcome->isOver; });
}

X11Connection* DisplayAttempt::connection() {
  const MutexLock lock(outcome->mutex);
  return outcome->connection.get();
}

}  // namespace quorvin
