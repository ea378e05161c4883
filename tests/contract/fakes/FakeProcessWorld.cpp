#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/contract/ProcessContract.h"
#include "tests/fakes/FakeProcess.h"

namespace quorvin::contract {
namespace {

class FakeProcessWorld final : public ProcessWorld {
 public:
  FakeProcessWorld() { fake.argumentList = {"/Applications/program", "--flag", ""}; }

  Process& process() override { return fake; }
  std::vector<std::string> expectedArguments() override { return fake.argumentList; }
  std::vector<std::string> takeStandardError() override {
    return std::exchange(fake.standardErrorWrites, {});
  }
  void leaveStandardError() override {}
  bool runUntilActivitiesAre(std::vector<std::string> reasons) override {
    return std::ranges::is_permutation(fake.runningReasons(), reasons);
  }

 private:
  fakes::FakeProcess fake;
};

const auto variables =
    testing::Values(WorldKind<ProcessWorld>{"Variables", [] {
                                              return std::make_unique<FakeProcessWorld>();
                                            }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, ProcessContract, variables, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, ActivityContract, variables, nameOfWorld);

}  // namespace quorvin::contract
