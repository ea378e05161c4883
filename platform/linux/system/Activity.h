#pragma once

#include <optional>
#include <string>

#include "platform/Process.h"
#include "platform/linux/system/InhibitIdle.h"
#include "platform/linux/system/InhibitScreenSaver.h"
#include "platform/linux/system/Process.h"

namespace quorvin {

// A running activity; over when it is ended or destroyed, whichever comes first. Main thread.
class Activity final : public ActivityToken {
 public:
  Activity(const ActivityServices& services, const std::string& reason);
  void end();

 private:
  std::optional<InhibitScreenSaver> screenSaver;
  std::optional<InhibitIdle> idle;
};

}  // namespace quorvin
