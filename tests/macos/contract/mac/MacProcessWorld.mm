#import <Foundation/Foundation.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/macos/Bridging.h"
#include "platform/macos/Process.h"
#include "tests/contract/ProcessContract.h"
#include "tests/contract/StandardErrorCapture.h"

namespace quorvin::contract {
namespace {

class MacProcessWorld final : public ProcessWorld {
 public:
  Process& process() override { return macProcess; }
  std::vector<std::string> expectedArguments() override {
    std::vector<std::string> list;
    for (NSString* argument in NSProcessInfo.processInfo.arguments) {
      list.push_back(toString(argument));
    }
    return list;
  }
  std::vector<std::string> takeStandardError() override { return standardError.take(); }
  void leaveStandardError() override { standardError.leave(); }
  bool runUntilActivitiesAre(std::vector<std::string> /*reasons*/) override {
    throw std::logic_error("nobody can be asked");
  }

 private:
  MacProcess macProcess;
  StandardErrorCapture standardError;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, ProcessContract,
                         testing::Values(WorldKind<ProcessWorld>{
                             "Foundation", [] { return std::make_unique<MacProcessWorld>(); }}),
                         nameOfWorld);
// The system does not tell a program of its own activities.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ActivityContract);

}  // namespace quorvin::contract
