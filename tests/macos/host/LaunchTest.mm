#include "tests/macos/host/HostFixture.h"

namespace quorvin {
namespace {

using standin::callsOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

class LaunchTest : public HostFixture {};

constexpr auto resumed = "AppLifecycleState.resumed";
constexpr auto inactive = "AppLifecycleState.inactive";
constexpr auto hidden = "AppLifecycleState.hidden";

TEST_F(LaunchTest, ShowsItsWindow) {
  EXPECT_EQ(run([] {
              EXPECT_TRUE(window().isVisible);
              EXPECT_TRUE([window().title isEqualToString:@"Quorvin Support"]);
              EXPECT_EQ(window().alphaValue, 1);
              EXPECT_EQ(window().contentMinSize.width, 720);
              EXPECT_EQ([window().contentView frame].size.height, 640);
              EXPECT_EQ([NSApp activationPolicy], NSApplicationActivationPolicyRegular);
            }),
            0);
}

TEST_F(LaunchTest, SetsItsWindowUpInOrder) {
  run([] {});
  std::vector<std::string> names;
  for (const auto& call : standin::calls()) {
    if (call.name.starts_with("-[NSWindow ") || call.name.find("Plugin") != std::string::npos ||
        call.name.find("Channel") != std::string::npos ||
        call.name.starts_with("-[FlutterViewController")) {
      names.push_back(call.name);
    }
  }
  EXPECT_THAT(names,
              ElementsAre("-[NSWindow initWithContentRect:styleMask:backing:defer:]",
                          "-[FlutterViewController initWithNibName:bundle:]",
                          "-[NSWindow setContentViewController:]", "-[NSWindow setContentSize:]",
                          "-[NSWindow center]", "-[NSWindow setContentMinSize:]",
                          "-[NSWindow setTitle:]", "-[FlutterEngine registrarForPlugin:]",
                          "+[FileSelectorPlugin registerWithRegistrar:]",
                          "-[FlutterEngine registrarForPlugin:]",
                          "+[SharedPreferencesPlugin registerWithRegistrar:]",
                          "+[FlutterMethodChannel methodChannelWithName:binaryMessenger:]",
                          "+[FlutterEventChannel eventChannelWithName:binaryMessenger:]",
                          "-[FlutterMethodChannel setMethodCallHandler:]",
                          "-[FlutterEventChannel setStreamHandler:]",
                          "-[FlutterBasicMessageChannel initWithName:binaryMessenger:codec:]",
                          "-[NSWindow awakeFromNib]", "-[NSWindow orderFront:]",
                          "-[FlutterBasicMessageChannel sendMessage:]",
                          "-[FlutterBasicMessageChannel sendMessage:]",
                          "-[FlutterBasicMessageChannel sendMessage:]",
                          "-[FlutterBasicMessageChannel sendMessage:]", "-[NSWindow dealloc]",
                          "-[FlutterMethodChannel setMethodCallHandler:nil]",
                          "-[FlutterEventChannel setStreamHandler:nil]"));
}

TEST_F(LaunchTest, TellsTheUserInterfaceWhetherItCanBeSeen) {
  run([this] {
    EXPECT_EQ(takeLifecycleState(), resumed);
    standin::deactivateApplication();
    EXPECT_EQ(takeLifecycleState(), inactive);
    standin::coverWindow(window());
    EXPECT_EQ(takeLifecycleState(), hidden);
    standin::uncoverWindow(window());
    EXPECT_EQ(takeLifecycleState(), inactive);
    standin::activateApplication();
    EXPECT_EQ(takeLifecycleState(), resumed);
    [window() miniaturize:nil];
    EXPECT_EQ(takeLifecycleState(), hidden);
    [window() deminiaturize:nil];
    EXPECT_EQ(takeLifecycleState(), resumed);
    [NSApp hide:nil];
    EXPECT_EQ(takeLifecycleState(), hidden);
    [NSApp unhide:nil];
    EXPECT_EQ(takeLifecycleState(), resumed);
    standin::changeApplicationOcclusion();
    EXPECT_EQ(takeLifecycleState(), resumed);
  });
}

TEST_F(LaunchTest, HasTheLastWordOnWhetherItCanBeSeen) {
  run([this] {
    [window() miniaturize:nil];
    takeLifecycleState();
    // The engine says "resumed", as it goes by the application.
    standin::deactivateApplication();
    standin::activateApplication();
    standin::changeApplicationOcclusion();
    EXPECT_EQ(takeLifecycleState(), hidden);
  });
}

TEST_F(LaunchTest, IgnoresWhatHappensToOtherWindows) {
  run([this] {
    takeLifecycleState();
    @autoreleasepool {
      NSWindow* other = [[NSWindow alloc] init];
      [other makeKeyAndOrderFront:nil];
      [other miniaturize:nil];
      [other deminiaturize:nil];
      [other orderOut:nil];
    }
    EXPECT_EQ(takeLifecycleState(), "");
  });
}

TEST_F(LaunchTest, EndsWithItsWindow) {
  EXPECT_EQ(run([] {
              [window() close];
              EXPECT_TRUE(standin::applicationHasTerminated());
            }),
            0);
}

TEST_F(LaunchTest, GoesOnUntilTheUserInterfaceLetsItEnd) {
  run([this] {
    standin::askBeforeTermination();
    startSession();
    [window() close];
    EXPECT_FALSE(standin::applicationHasTerminated());
    standin::answerTermination(false);
    EXPECT_TRUE(sendFrame({})) << "nobody has ended the session";
    EXPECT_THAT(takeEvents(), SizeIs(1));
    [NSApp terminate:nil];
    EXPECT_FALSE(standin::applicationHasTerminated());
    standin::answerTermination(true);
    EXPECT_TRUE(standin::applicationHasTerminated());
  });
  EXPECT_FALSE(newestStream()->isRunning());
}

TEST_F(LaunchTest, ComesUpWhicheverObjectOfTheNibIsWokenFirst) {
  for (const bool wakesWindowFirst : {false, true}) {
    standin::setMainNib({.delegateClass = "AppDelegate",
                         .windowClass = "MainFlutterWindow",
                         .wakesWindowFirst = wakesWindowFirst});
    run([this] {
      EXPECT_TRUE(window().isVisible);
      EXPECT_EQ(takeLifecycleState(), resumed);
    });
    standin::resetAppKit();
  }
}

TEST_F(LaunchTest, RunsUnattendedWithoutShowingItself) {
  for (const bool showsWindowWithNib : {true, false}) {
    authorizeUnattended("Front desk");
    standin::setMainNib({.delegateClass = "AppDelegate",
                         .windowClass = "MainFlutterWindow",
                         .showsWindowWithNib = showsWindowWithNib});
    run([this] {
      EXPECT_FALSE(window().isVisible);
      EXPECT_EQ(window().alphaValue, 0);
      EXPECT_EQ([NSApp activationPolicy], NSApplicationActivationPolicyAccessory);
      EXPECT_FALSE([NSApp isActive]);
      EXPECT_EQ(takeLifecycleState(), hidden);
      [window() close];
      EXPECT_FALSE(standin::applicationHasTerminated());
    });
    standin::resetAppKit();
  }
}

TEST_F(LaunchTest, HidesEveryWindowOfAnUnattendedRun) {
  authorizeUnattended("Front desk");
  const auto panel = std::make_shared<NSWindow*>(nil);
  id token = [NSNotificationCenter.defaultCenter
      addObserverForName:NSApplicationWillFinishLaunchingNotification
                  object:nil
                   queue:nil
              usingBlock:^(NSNotification*) {
                *panel = [[NSWindow alloc] init];
                [*panel orderFront:nil];
              }];
  run([panel] {
    ASSERT_NE(*panel, nil);
    EXPECT_FALSE((*panel).isVisible);
  });
  [NSNotificationCenter.defaultCenter removeObserver:token];
}

TEST_F(LaunchTest, TellsWhatItCanDo) {
  run([this] {
    const auto reply = answer("capabilities");
    ASSERT_TRUE(std::holds_alternative<Value>(reply));
    const auto* map = std::get<Value>(reply).as<Map>();
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->size(), 7U);
    EXPECT_EQ(*map->find("platform"), Value("macos"));
    EXPECT_EQ(*map->find("deviceName"), Value("Front desk"));
    EXPECT_EQ(*map->find("screenShare"), Value(true));
    EXPECT_EQ(*map->find("remoteControl"), Value(true));
    EXPECT_EQ(*map->find("videoH264"), Value(true));
    EXPECT_EQ(*map->find("unattended"), Value(false));
    EXPECT_EQ(*map->find("unattendedName"), Value(""));
  });
}

TEST_F(LaunchTest, KnowsNoOtherMethod) {
  run([this] {
    EXPECT_THAT(answer("Capabilities"),
                VariantWith<FlutterMethodNotImplemented>(FlutterMethodNotImplemented()));
  });
}

}  // namespace
}  // namespace quorvin
