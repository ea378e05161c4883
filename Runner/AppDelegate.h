#pragma once

#include <functional>

#include "platform/Platform.h"

namespace quorvin {

// Decides, before any window exists, how this process runs: interactively, or unattended when it
// was started so and the account allows it. Main thread.
class AppDelegate final : public ApplicationDelegate {
 public:
  // Ends the process with status 2 when it was started for unattended use without being allowed.
  explicit AppDelegate(Platform& platform);

  void applicationDidFinishLaunching(
      const std::function<void()>& superApplicationDidFinishLaunching) override;
  bool applicationShouldTerminateAfterLastWindowClosed() override;
  bool applicationSupportsSecureRestorableState() override;

 private:
  Platform& platform;
};

}  // namespace quorvin
