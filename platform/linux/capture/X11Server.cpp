#include "platform/linux/capture/X11Server.h"

namespace quorvin {

std::optional<X11Server> X11SpareServer::take() {
  const MutexLock lock(mutex);
  auto taken = std::exchange(server, {});
  if (!taken) return {};
  // libxcb sees the end of a connection when it reads from it.
  while (taken->connection.pollEvent() != nullptr) {
  }
  if (taken->connection.isBroken()) return {};
  return taken;
}

}  // namespace quorvin
