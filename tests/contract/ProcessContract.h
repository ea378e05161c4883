#pragma once

#include <string>
#include <vector>

#include "platform/Process.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// A process whose standard error ends in the world, on a system that knows of its activities.
class ProcessWorld {
 public:
  ProcessWorld() = default;
  ProcessWorld(const ProcessWorld&) = delete;
  ProcessWorld& operator=(const ProcessWorld&) = delete;
  virtual ~ProcessWorld() = default;

  virtual Process& process() = 0;
  // What the process was started with.
  virtual std::vector<std::string> expectedArguments() = 0;
  // What was written to standard error since the last call, each write for itself.
  virtual std::vector<std::string> takeStandardError() = 0;
  // From now on nobody reads what is written to standard error.
  virtual void leaveStandardError() = 0;
  // Waits until the system knows of exactly these activities, by reason; in any order.
  virtual bool runUntilActivitiesAre(std::vector<std::string> reasons) = 0;
};

class ProcessContract : public Contract<ProcessWorld> {
 protected:
  Process& process() { return world->process(); }
};

// On systems that can be asked for the activities they know of.
class ActivityContract : public ProcessContract {};

}  // namespace quorvin::contract
