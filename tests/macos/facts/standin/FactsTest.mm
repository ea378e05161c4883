#import <AppKit/AppKitControl.h>
#import <CoreGraphics/CGEventControl.h>
#import <CoreImage/CoreImageControl.h>
#import <CoreMedia/CoreMediaControl.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>
#import <VideoToolbox/VideoToolboxControl.h>
#include <stdlib.h>

#include <map>

#include "tests/macos/backend/SystemTest.h"
#include "tests/macos/facts/Fact.h"
#include "tests/macos/standin/VirtualClock.h"

namespace quorvin::facts {
namespace {

// A Mac with one display, which may be recorded, and an encoder that takes 4 ms.
class FactsTest : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    unsetenv("QUORVIN_FACTS_NIB");
    setenv("TERM_PROGRAM", "Console", 1);
    standin::setScreenCapturePreflight(true);
    standin::setShareableContent({.displays = {{7, 1440, 900}}});
    pictureSize = {64, 48};
    standin::setEncoder([](id /*frame*/, CMTime /*time*/) {
      (void)standin::virtualClock().moveTowards(standin::uptime() + 4'000'000);
      id data = standin::makeBlockBuffer({.blocks = {{0, 0, 0, 2, 0x65, 0x88}}});
      id format =
          standin::makeFormatDescription({.parameterSets = {{.bytes = {0x67}}, {.bytes = {0x68}}}});
      return standin::EncoderOutput{.sampleBuffer = standin::makeSampleBuffer(
                                        {.dataBuffer = data, .formatDescription = format})};
    });
  }
  void TearDown() override {
    standin::resetScreenCaptureKit();
    standin::resetVideoToolbox();
    standin::resetCoreImage();
    standin::resetAppKit();
    SystemTest::TearDown();
  }

  // Every fact with what was seen, one a line, and the stand-ins' complaints.
  std::string report() {
    std::string text = "\n";
    for (const auto& list : {systemFacts(), encoderFacts(), streamFacts()}) {
      for (const auto& fact : list) {
        if (before.contains(fact.name)) before[fact.name]();
        @autoreleasepool {
          const auto [seen, agrees] = fact.attempt();
          text += std::string(fact.name) + ": " + seen + " " + agrees + "\n";
        }
        for (const auto& violation : standin::takeViolations()) text += "! " + violation + "\n";
      }
    }
    return text;
  }

  static void after(std::uint64_t seconds, const std::function<void()>& work) {
    standin::virtualClock().addAlarm(standin::uptime() + seconds * 1'000'000'000, work);
  }
  static void sendIdleSample() {
    id attachments = standin::attachmentsWithStatus(@(SCFrameStatusIdle));
    standin::captureStreams().back()->sendSample({.attachments = attachments, .hasFrame = false});
  }
  // The system answers with its displays and then no more.
  static void fallSilent() {
    standin::releaseAnswers();
    standin::settle();
    standin::holdAnswers();
    after(1, standin::releaseOldestAnswer);
  }
  static void answerTasks(const std::function<int(const std::string& firstArgument)>& status) {
    standin::setTaskRunner([status](const standin::Task& task) {
      return standin::TaskOutcome{status(task.arguments[0])};
    });
  }
  static void loadNib(bool wakesWindowFirst) {
    setenv("QUORVIN_FACTS_NIB", "/dev/null", 1);
    standin::setMainNib({.delegateClass = "FactDelegate",
                         .windowClass = "FactWindow",
                         .wakesWindowFirst = wakesWindowFirst});
  }

  std::map<std::string, std::function<void()>> before;  // what happens before some of them
};

TEST_F(FactsTest, AreToldOfAMacThatIsAsTheHostCountsOn) {
  before["nib"] = [] { loadNib(false); };
  before["display-sleep"] = [] { answerTasks([](const auto&) { return 1; }); };
  before["still-screen"] = [] {
    for (const auto second : {5U, 10U, 15U, 20U}) after(second, sendIdleSample);
  };
  before["stop-while-starting"] = [] {
    fallSilent();
    after(2, standin::releaseAnswers);
  };
  before["drop"] = [] {
    for (const auto second : {1U, 6U}) after(second, sendIdleSample);
  };
  EXPECT_EQ(report(), R"(
permissions: Screen Recording yes, Accessibility yes, started by Console -
nib: delegate window  yes
key-flags: made with 0x0, none set reads 0x0, Control set reads 0x40000 yes
bootstrap: 0, 0 within 0 s yes
names: one file yes, one path yes, link made absolute yes yes
display-sleep: the system's yes, the display's no yes
flutter: not tried: needs the application with Flutter -
video: the first 4 ms, the others 4 ms, 0 of 10 inside the call yes
jpeg: 0 ms for 2 kB yes
invalidate: 0 at work when it returns, 0 later yes
still-screen: start done, 1 of status 1 without a surface, 1 of status 1 without a surface, 1 of status 1 without a surface, 1 of status 1 without a surface, stop done yes
queue-depth: start error -3812, stop error -3808 yes
stop-while-starting: stop error -3808, start done, after them last stop done yes
drop: start done, before 1 of status 1 without a surface, after  yes
! an SCStream was let go of while it runs, and goes on capturing
references: delegate no, output no yes
)");
}

TEST_F(FactsTest, AreToldOfAMacThatIsOtherwise) {
  standin::setProcessTrusted(false);
  before["nib"] = [] { loadNib(true); };
  before["key-flags"] = [] { standin::flagsOfNewEvents = 0xA00000; };
  int bootstraps = 0;
  before["bootstrap"] = [&] {
    answerTasks([&](const auto& verb) {
      return verb == "bootstrap" && ++bootstraps > 1 && bootstraps < 5 ? 5 : 0;
    });
  };
  before["display-sleep"] = [] { answerTasks([](const auto&) { return 2; }); };
  before["video"] = standin::callBackInsideTheCall;
  before["jpeg"] = standin::failImageRendering;
  before["invalidate"] = [] { standin::setSessionCreationStatus(-12903); };
  before["queue-depth"] = fallSilent;
  before["stop-while-starting"] = fallSilent;
  before["drop"] = standin::releaseAnswers;
  EXPECT_EQ(report(), R"(
permissions: Screen Recording yes, Accessibility no, started by Console -
nib: window delegate  yes
key-flags: made with 0xa00000, none set reads 0x0, Control set reads 0x40000 NO
bootstrap: 5, 0 within 3 s NO
names: one file yes, one path yes, link made absolute yes yes
display-sleep: the system's yes, the display's yes NO
flutter: not tried: needs the application with Flutter -
video: the first 4 ms, the others 4 ms, 10 of 10 inside the call yes
jpeg: 0 ms for 0 kB NO
invalidate: no encoder: -12903 -
still-screen: start done, none, none, none, none, stop done NO
queue-depth: start no answer within 5 s, stop no answer within 5 s NO
stop-while-starting: stop no answer within 5 s, start no answer within 5 s, after them last stop no answer within 5 s NO
! an SCStream was let go of while it runs, and goes on capturing
drop: start done, before after  -
! an SCStream was let go of while it runs, and goes on capturing
references: delegate no, output no yes
)");
}

TEST_F(FactsTest, AreNotTriedWithoutWhatTheyNeed) {
  standin::setScreenCapturePreflight(false);
  before["bootstrap"] = [] { answerTasks([](const auto&) { return 125; }); };
  const auto text = report();
  EXPECT_NE(text.find("nib: not tried: needs ibtool"), std::string::npos);
  EXPECT_NE(text.find("bootstrap: not tried: the first one answers 125 -\n"), std::string::npos);
  EXPECT_NE(text.find("drop: not tried: Screen Recording is not granted -\n"), std::string::npos);
}

}  // namespace
}  // namespace quorvin::facts
