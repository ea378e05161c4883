#import <Foundation/Foundation.h>
#import <Foundation/FoundationControl.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/macos/Process.h"
#include "tests/contract/ProcessContract.h"
#include "tests/macos/standin/CallLog.h"

namespace quorvin::contract {
namespace {

class StandInProcessWorld final : public ProcessWorld {
 public:
  StandInProcessWorld() { standin::setProcessArguments(expectedArguments()); }

  Process& process() override { return macProcess; }
  std::vector<std::string> expectedArguments() override {
    return {"/Applications/program", "--flag", "", "Büro"};
  }
  std::vector<std::string> takeStandardError() override {
    const auto all = standin::writtenToStandardError();
    const auto calls = standin::callsOf("-[NSFileHandle writeData:error:]");
    std::vector<std::string> writes;
    for (; seenWrites < calls.size(); ++seenWrites) {
      const auto length = std::stoul(calls[seenWrites].arguments.at(0));
      writes.push_back(all.substr(seenBytes, length));
      seenBytes += length;
    }
    return writes;
  }
  void leaveStandardError() override { standin::failFileHandleWrites(EPIPE); }
  bool runUntilActivitiesAre(std::vector<std::string> reasons) override {
    std::vector<std::string> running;
    for (const auto& activity : standin::runningActivities()) running.push_back(activity.reason);
    return std::ranges::is_permutation(running, reasons);
  }

 private:
  MacProcess macProcess;
  std::size_t seenWrites = 0;
  std::size_t seenBytes = 0;
};

const auto foundation = testing::Values(
    WorldKind<ProcessWorld>{"Foundation", [] { return std::make_unique<StandInProcessWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, ProcessContract, foundation, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, ActivityContract, foundation, nameOfWorld);

}  // namespace quorvin::contract
