#import "platform/macos/Application.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#import "platform/macos/NibClasses.h"
#include "tests/macos/backend/ApplicationFixture.h"

namespace quorvin {
namespace {

using standin::callsOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// The program's parts as a test sees them come and go.
struct Program {
  std::vector<std::string> events;
  std::function<void(Window&)> onAwake = [](Window& /*window*/) {};
  std::function<void()> onLaunch = [] {};
  bool terminates = true;
  bool isRestorable = true;

  ApplicationFactories factories();
};

class DelegatePart final : public ApplicationDelegate {
 public:
  explicit DelegatePart(Program& program) : program(program) {
    program.events.emplace_back("delegate made");
  }
  ~DelegatePart() override { program.events.emplace_back("delegate gone"); }
  void applicationDidFinishLaunching(const std::function<void()>& super) override {
    program.events.emplace_back("launching");
    super();
    program.events.emplace_back("launched");
    program.onLaunch();
  }
  bool applicationShouldTerminateAfterLastWindowClosed() override { return program.terminates; }
  bool applicationSupportsSecureRestorableState() override { return program.isRestorable; }

 private:
  Program& program;
};

class WindowPart final : public MainWindow {
 public:
  WindowPart(Program& program, Window& window) : program(program), window(window) {
    program.events.emplace_back("window made");
  }
  ~WindowPart() override {
    program.events.emplace_back("window gone");
    // AppKit's part is still there.
    EXPECT_THAT(callsOf("-[NSWindow dealloc]"), IsEmpty());
  }
  void awakeFromNib(const std::function<void()>& superAwakeFromNib) override {
    EXPECT_THAT(callsOf("-[NSWindow awakeFromNib]"), IsEmpty());
    superAwakeFromNib();
    EXPECT_THAT(callsOf("-[NSWindow awakeFromNib]"), SizeIs(1));
    program.events.emplace_back("awake");
    program.onAwake(window);
  }

 private:
  Program& program;
  Window& window;
};

ApplicationFactories Program::factories() {
  return {.makeDelegate = [this] { return std::make_unique<DelegatePart>(*this); },
          .makeMainWindow =
              [this](Window& window) { return std::make_shared<WindowPart>(*this, window); }};
}

class ApplicationTest : public ApplicationFixture {
 protected:
  void SetUp() override {
    ApplicationFixture::SetUp();
    standin::setMainNib({.delegateClass = "AppDelegate", .windowClass = "MainFlutterWindow"});
  }

  int run(std::function<void()> script = [] {}) {
    standin::setApplicationScript(std::move(script));
    standin::resetCallLog();
    std::array<char, 5> first{"host"};
    std::array<char, 4> second{"--a"};
    std::array<char*, 3> arguments{first.data(), second.data(), nullptr};
    return application.run(2, arguments.data(), program.factories());
  }
  static NSWindow* mainWindow() { return NSApp.windows.firstObject; }

  Program program;
  MacApplication application;
};

TEST_F(ApplicationTest, HandsTheArgumentsToAppKitAndItsStatusBack) {
  EXPECT_EQ(run(), 0);
  const auto calls = callsOf("NSApplicationMain");
  ASSERT_THAT(calls, SizeIs(1));
  EXPECT_THAT(calls[0].arguments, ElementsAre("host", "--a"));
}

TEST_F(ApplicationTest, MakesTheDelegateFirstAndEverythingInItsTurn) {
  run([this] { program.events.emplace_back("running"); });
  EXPECT_THAT(program.events, ElementsAre("delegate made", "window made", "awake", "launching",
                                          "launched", "running", "window gone", "delegate gone"));
}

TEST_F(ApplicationTest, ForgetsItsFactoriesWhenItHasEnded) {
  run([] { EXPECT_TRUE(nibFactories().makeDelegate); });
  EXPECT_FALSE(nibFactories().makeDelegate);
  EXPECT_FALSE(nibFactories().makeMainWindow);
}

TEST_F(ApplicationTest, GivesTheWindowTheContentOfTheNib) {
  run();
  const auto calls = callsOf("-[NSWindow initWithContentRect:styleMask:backing:defer:]");
  ASSERT_THAT(calls, SizeIs(1));
  EXPECT_THAT(calls[0].arguments, ElementsAre("800 x 600", "15", "2", "NO"));
}

TEST_F(ApplicationTest, GivesTheProgramTheWindowItself) {
  program.onAwake = [](Window& window) { window.setTitle("Mine"); };
  run([] { EXPECT_TRUE([mainWindow().title isEqualToString:@"Mine"]); });
}

TEST_F(ApplicationTest, RunsSuperWhereFlutterHasSuchAMethod) {
  constexpr auto super = "-[FlutterAppDelegate applicationDidFinishLaunching:]";
  run();
  EXPECT_THAT(callsOf(super), IsEmpty());
  standin::letFlutterAppDelegateFinishLaunching(true);
  std::size_t callsWhenLaunched = 0;
  program.onLaunch = [&] { callsWhenLaunched = callsOf(super).size(); };
  run();
  EXPECT_EQ(callsWhenLaunched, 1U);
}

TEST_F(ApplicationTest, AnswersForTheProgramWhatAppKitAsks) {
  constexpr auto question = "-[NSApplicationDelegate applicationSupportsSecureRestorableState:]";
  run();
  EXPECT_THAT(callsOf(question).at(0).arguments, ElementsAre("YES"));
  program.isRestorable = false;
  run();
  EXPECT_THAT(callsOf(question).at(0).arguments, ElementsAre("NO"));
}

TEST_F(ApplicationTest, EndsWithItsLastWindowWhenTheProgramSaysSo) {
  for (const bool terminates : {true, false}) {
    program.terminates = terminates;
    run([=] {
      [mainWindow() close];
      EXPECT_EQ(standin::applicationHasTerminated(), terminates);
    });
    standin::resetAppKit();
    standin::setMainNib({.delegateClass = "AppDelegate", .windowClass = "MainFlutterWindow"});
  }
}

TEST_F(ApplicationTest, ExistsOnceAppKitHasMadeIt) {
  EXPECT_FALSE(application.exists());
  program.onAwake = [this](Window& /*window*/) { EXPECT_TRUE(application.exists()); };
  run();
}

TEST_F(ApplicationTest, TellsWhetherItIsHiddenOrActive) {
  [NSApplication sharedApplication];
  EXPECT_FALSE(application.isActive());
  EXPECT_FALSE(application.isHidden());
  standin::activateApplication();
  EXPECT_TRUE(application.isActive());
  [NSApp hide:nil];
  EXPECT_TRUE(application.isHidden());
  EXPECT_FALSE(application.isActive());
}

TEST_F(ApplicationTest, SetsEveryActivationPolicy) {
  [NSApplication sharedApplication];
  application.setActivationPolicy(ActivationPolicy::prohibited);
  EXPECT_EQ([NSApp activationPolicy], NSApplicationActivationPolicyProhibited);
  application.setActivationPolicy(ActivationPolicy::accessory);
  EXPECT_EQ([NSApp activationPolicy], NSApplicationActivationPolicyAccessory);
  application.setActivationPolicy(ActivationPolicy::regular);
  EXPECT_EQ([NSApp activationPolicy], NSApplicationActivationPolicyRegular);
  EXPECT_THAT(callsOf("-[NSApplication setActivationPolicy:]"), SizeIs(3));
}

TEST_F(ApplicationTest, ListsAllWindowsInAppKitsOrder) {
  [NSApplication sharedApplication];
  EXPECT_THAT(application.windows(), IsEmpty());
  @autoreleasepool {
    NSWindow* first = makeNSWindow();
    NSWindow* second = makeNSWindow();
    const auto windows = application.windows();
    ASSERT_THAT(windows, SizeIs(2));
    windows[0]->setTitle("1");
    windows[1]->setTitle("2");
    EXPECT_TRUE([first.title isEqualToString:@"1"]);
    EXPECT_TRUE([second.title isEqualToString:@"2"]);
  }
  EXPECT_THAT(application.windows(), IsEmpty());
}

TEST_F(ApplicationTest, NamesTheApplicationObjectAsSender) {
  EXPECT_EQ(application.notificationObject(), nil);
  [NSApplication sharedApplication];
  EXPECT_EQ(application.notificationObject(), NSApp);
}

}  // namespace
}  // namespace quorvin
