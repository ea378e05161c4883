#include "platform/linux/capture/CaptureGate.h"

#include <algorithm>
#include <utility>

namespace quorvin {

bool CaptureGate::close() {
  const MutexLock lock(mutex);
  forgetCurrentThread();
  return !std::exchange(closed, true);
}

void CaptureGate::waitUntilQuiet() {
  MutexLock lock(mutex);
  quiet.wait(lock.forWaiting(), [this]() QUORVIN_REQUIRES(mutex) { return inside.empty(); });
}

bool CaptureGate::enter() {
  const MutexLock lock(mutex);
  if (closed) return false;
  inside.push_back(std::this_thread::get_id());
  return true;
}

void CaptureGate::leave() {
  const MutexLock lock(mutex);
  forgetCurrentThread();
}

void CaptureGate::forgetCurrentThread() {
  const auto current = std::ranges::find(inside, std::this_thread::get_id());
  if (current == inside.end()) return;
  inside.erase(current);
  quiet.notify_all();
}

}  // namespace quorvin
