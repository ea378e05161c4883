#include "platform/linux/system/Activity.h"

namespace quorvin {

Activity::Activity(const ActivityServices& services, const std::string& reason) {
  if (!services.display.empty()) screenSaver.emplace(services.display);
  if (!services.busAddress.empty()) idle.emplace(services.busAddress, reason);
}

void Activity::end() {
  screenSaver.reset();
  idle.reset();
}

}  // namespace quorvin
