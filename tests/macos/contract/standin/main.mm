#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "tests/macos/standin/StandInTest.h"

namespace {

// Looks after each test as the stand-ins' own fixture looks after its tests: strictly, and for
// leaks. The contracts' fixtures know nothing of stand-ins.
class StandInListener final : public testing::EmptyTestEventListener {
 private:
  class Session final : public standin::StandInTest {
   private:
    void TestBody() override {}
  };

  void OnTestStart(const testing::TestInfo& /*test*/) override { session.emplace(); }
  void OnTestEnd(const testing::TestInfo& /*test*/) override { session.reset(); }

  std::optional<Session> session;
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new StandInListener);
  return RUN_ALL_TESTS();
}
