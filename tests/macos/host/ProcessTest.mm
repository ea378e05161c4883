#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#endif

#import <Foundation/FoundationControl.h>

#include "tests/macos/host/HostFixture.h"

// main() of the program.
int quorvinMain(int argc, char** argv);

namespace quorvin {
namespace {

using testing::ExitedWithCode;

// Each runs the program's main() in a process of its own, which main() ends.
class ProcessDeathTest : public HostFixture {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    HostFixture::SetUp();
  }

  [[noreturn]] static void runMain() {
#if __has_feature(address_sanitizer)
    // main() may end the process from within the making of an object, which is then no leak.
    __lsan_disable();
#endif
    // What a person would read in the terminal.
    std::atexit([] { std::fputs(standin::writtenToStandardError().c_str(), stderr); });
    std::string name = "quorvin-support";
    std::array<char*, 2> arguments{name.data(), nullptr};
    std::_Exit(quorvinMain(1, arguments.data()) + 100);  // main() ends the process itself
  }
};

TEST_F(ProcessDeathTest, EndsWithStatusZeroWhenItsWindowWasClosed) {
  const auto life = [] {
    standin::setApplicationScript([] {
      standin::DartSide ui(
          static_cast<::FlutterViewController*>(window().contentViewController).engine);
      const auto reply = ui.call("com.quorvin.support/host", "startCapture", consent());
      standin::settle();
      EXPECT_TRUE(reply->hasArrived);
      EXPECT_EQ(reply->answer, nothing());
      [window() close];
      EXPECT_TRUE(standin::applicationHasTerminated());
      endProcessIfFailed();
    });
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(0), "^$");
}

TEST_F(ProcessDeathTest, RefusesAnUnattendedRunThatIsNotEnabled) {
  const auto life = [] {
    setArguments({"/quorvin-support", "--unattended"});
    standin::setApplicationScript([] { std::_Exit(50); });
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(2),
              "^Quorvin unattended access is not enabled. Run --install-unattended first.\n$");
}

TEST_F(ProcessDeathTest, RunsUnattendedWhereThatIsEnabled) {
  const auto life = [] {
    authorizeUnattended("Front desk");
    standin::setApplicationScript([] {
      EXPECT_FALSE(window().isVisible);
      endProcessIfFailed();
    });
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(0), "^$");
}

}  // namespace
}  // namespace quorvin
