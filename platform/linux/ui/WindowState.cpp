#include "platform/linux/ui/WindowState.h"

namespace quorvin {

std::vector<Notification> windowNotifications(const WindowState& former, const WindowState& now) {
  std::vector<Notification> all;
  if (now.hasFocus && !former.hasFocus) all.push_back(Notification::windowDidBecomeKey);
  if (now.isIconified != former.isIconified) {
    all.push_back(now.isIconified ? Notification::windowDidMiniaturize
                                  : Notification::windowDidDeminiaturize);
  }
  if (now.isSeen() != former.isSeen()) {
    all.push_back(Notification::windowDidChangeOcclusionState);
  }
  return all;
}

std::vector<Notification> applicationNotifications(const WindowState& former,
                                                   const WindowState& now) {
  std::vector<Notification> all;
  if (now.hasFocus != former.hasFocus) {
    all.push_back(now.hasFocus ? Notification::applicationDidBecomeActive
                               : Notification::applicationDidResignActive);
  }
  if (now.isSeen() != former.isSeen()) {
    all.push_back(Notification::applicationDidChangeOcclusionState);
  }
  return all;
}

}  // namespace quorvin
