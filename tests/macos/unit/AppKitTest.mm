#import <AppKit/AppKitControl.h>
#import <Foundation/FoundationControl.h>
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

// A delegate and a window as a main nib may name them.
@interface AppKitTestDelegate : NSObject <NSApplicationDelegate>
@property(weak) NSWindow* mainFlutterWindow;
@end

namespace {

bool delegateLetsGo = true;

}  // namespace

@implementation AppKitTestDelegate
- (void)applicationWillFinishLaunching:(NSNotification*)notification {
  standin::record("will finish launching");
}
- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  standin::record("did finish launching",
                  {notification.object == NSApp ? "application" : "somebody"});
}
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
  return YES;
}
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
  return delegateLetsGo ? NSTerminateNow : NSTerminateCancel;
}
@end

@interface AppKitTestWindow : NSWindow
@end

@implementation AppKitTestWindow
@end

@interface AppKitTestBareDelegate : NSObject <NSApplicationDelegate>
@end

@implementation AppKitTestBareDelegate
@end

namespace {

using standin::callsOf;
using standin::takeViolations;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;

class AppKitTest : public standin::StandInTest {
 protected:
  void SetUp() override {
    reset();
    StandInTest::SetUp();
    for (NSNotificationName name in allNames()) {
      id token = [NSNotificationCenter.defaultCenter
          addObserverForName:name
                      object:nil
                       queue:nil
                  usingBlock:^(NSNotification* notification) {
                    posted.emplace_back(notification.name.UTF8String);
                  }];
      tokens.push_back(token);
    }
    standin::resetCallLog();
  }
  void TearDown() override {
    for (id token : tokens) [NSNotificationCenter.defaultCenter removeObserver:token];
    tokens.clear();
    reset();
    StandInTest::TearDown();
  }

  std::vector<std::string> takePosted() { return std::exchange(posted, {}); }

  static int run(
      std::function<void()> script = [] {}, const std::string& delegate = "AppKitTestDelegate",
      bool showsWithNib = true) {
    standin::setMainNib({.delegateClass = delegate,
                         .windowClass = "AppKitTestWindow",
                         .contentRect = NSMakeRect(0, 0, 300, 200),
                         .showsWindowWithNib = showsWithNib});
    standin::setApplicationScript(std::move(script));
    const char* arguments[] = {"app", nullptr};
    return NSApplicationMain(1, arguments);
  }
  static NSWindow* window() { return NSApp.windows.firstObject; }

 private:
  static void reset() {
    standin::resetAppKit();
    standin::resetFoundation();
    delegateLetsGo = true;
  }
  static NSArray<NSNotificationName>* allNames() {
    return @[
      NSApplicationDidBecomeActiveNotification, NSApplicationDidResignActiveNotification,
      NSApplicationDidHideNotification, NSApplicationDidUnhideNotification,
      NSApplicationDidChangeOcclusionStateNotification, NSWindowDidBecomeKeyNotification,
      NSWindowDidMiniaturizeNotification, NSWindowDidDeminiaturizeNotification,
      NSWindowDidChangeOcclusionStateNotification, NSWindowWillCloseNotification,
      NSApplicationWillFinishLaunchingNotification, NSApplicationDidFinishLaunchingNotification,
      NSApplicationWillTerminateNotification
    ];
  }

  std::vector<id> tokens;
  std::vector<std::string> posted;
};

TEST_F(AppKitTest, LoadsTheNibAndLaunchesInOrder) {
  EXPECT_EQ(run([] { standin::record("script"); }), 0);
  std::vector<std::string> interesting;
  for (const auto& name : standin::callNames()) {
    if (!name.starts_with("-[NSView") && !name.starts_with("-[NSApplication windows")) {
      interesting.push_back(name);
    }
  }
  EXPECT_THAT(interesting,
              ElementsAre("NSApplicationMain", "+[NSApplication sharedApplication]",
                          "-[NSWindow initWithContentRect:styleMask:backing:defer:]",
                          "-[NSObject awakeFromNib]", "-[NSWindow awakeFromNib]",
                          "-[NSObject awakeFromNib]", "-[NSWindow orderFront:]",
                          "-[NSApplication run]", "will finish launching",
                          "-[NSApplicationDelegate applicationSupportsSecureRestorableState:]",
                          "did finish launching", "script", "-[NSApplication terminate:]",
                          "-[NSWindow dealloc]"));
  EXPECT_THAT(callsOf("did finish launching").at(0).arguments, ElementsAre("application"));
}

TEST_F(AppKitTest, PostsWhatHappensWhileItLaunches) {
  run([this] {
    EXPECT_THAT(takePosted(), ElementsAre("NSWindowDidChangeOcclusionStateNotification",
                                          "NSApplicationWillFinishLaunchingNotification",
                                          "NSApplicationDidFinishLaunchingNotification",
                                          "NSApplicationDidBecomeActiveNotification",
                                          "NSWindowDidBecomeKeyNotification"));
  });
  EXPECT_THAT(takePosted(), ElementsAre("NSApplicationWillTerminateNotification"));
}

TEST_F(AppKitTest, ShowsTheWindowAfterLaunchingWhenToldTo) {
  run(
      [this] {
        EXPECT_TRUE(window().isVisible);
        EXPECT_THAT(takePosted(), ElementsAre("NSApplicationWillFinishLaunchingNotification",
                                              "NSApplicationDidFinishLaunchingNotification",
                                              "NSWindowDidChangeOcclusionStateNotification",
                                              "NSApplicationDidBecomeActiveNotification",
                                              "NSWindowDidBecomeKeyNotification"));
      },
      "AppKitTestDelegate", false);
}

TEST_F(AppKitTest, ConnectsDelegateAndWindow) {
  run([] {
    AppKitTestDelegate* delegate = [NSApp delegate];
    EXPECT_EQ(delegate.mainFlutterWindow, window());
    EXPECT_TRUE([window() isKindOfClass:[AppKitTestWindow class]]);
  });
}

TEST_F(AppKitTest, LetsADelegateAnswerNothing) {
  EXPECT_EQ(run([] { [window() close]; }, "AppKitTestBareDelegate"), 0);
  EXPECT_THAT(callsOf("-[NSApplication terminate:]"), SizeIs(1));
}

TEST_F(AppKitTest, ReportsANibThatNamesNoClass) {
  run([] {}, "Missing");
  EXPECT_THAT(takeViolations(), Contains(HasSubstr("Missing")));
}

TEST_F(AppKitTest, TerminatesWhenTheLastWindowCloses) {
  run([this] {
    takePosted();
    [window() close];
    EXPECT_TRUE(standin::applicationHasTerminated());
    EXPECT_THAT(takePosted(), ElementsAre("NSWindowWillCloseNotification",
                                          "NSWindowDidChangeOcclusionStateNotification",
                                          "NSApplicationWillTerminateNotification"));
  });
}

TEST_F(AppKitTest, GoesOnWhileAWindowIsOpen) {
  run([] {
    NSWindow* other = [[NSWindow alloc] init];
    [other orderFront:nil];
    [window() close];
    EXPECT_FALSE(standin::applicationHasTerminated());
    [other close];
    EXPECT_TRUE(standin::applicationHasTerminated());
  });
}

TEST_F(AppKitTest, GoesOnWhenTheDelegateSaysSo) {
  run([] {
    delegateLetsGo = false;
    [NSApp terminate:nil];
    EXPECT_FALSE(standin::applicationHasTerminated());
    delegateLetsGo = true;
  });
  EXPECT_TRUE(standin::applicationHasTerminated());
}

TEST_F(AppKitTest, MiniaturizesAWindowAndBringsItBack) {
  run([this] {
    takePosted();
    [window() miniaturize:nil];
    EXPECT_TRUE(window().isMiniaturized);
    EXPECT_FALSE(window().isVisible);
    EXPECT_FALSE(window().isKeyWindow);
    [window() miniaturize:nil];
    EXPECT_THAT(takePosted(), ElementsAre("NSWindowDidMiniaturizeNotification",
                                          "NSWindowDidChangeOcclusionStateNotification"));
    [window() deminiaturize:nil];
    [window() deminiaturize:nil];
    EXPECT_TRUE(window().isVisible);
    EXPECT_THAT(takePosted(), ElementsAre("NSWindowDidDeminiaturizeNotification",
                                          "NSWindowDidChangeOcclusionStateNotification",
                                          "NSWindowDidBecomeKeyNotification"));
  });
}

TEST_F(AppKitTest, HidesAndShowsTheApplication) {
  run([this] {
    takePosted();
    [NSApp hide:nil];
    EXPECT_TRUE([NSApp isHidden]);
    EXPECT_FALSE(window().isVisible);
    EXPECT_THAT(takePosted(), ElementsAre("NSApplicationDidHideNotification",
                                          "NSApplicationDidResignActiveNotification",
                                          "NSWindowDidChangeOcclusionStateNotification"));
    [NSApp unhide:nil];
    EXPECT_TRUE(window().isVisible);
    EXPECT_THAT(takePosted(), ElementsAre("NSApplicationDidUnhideNotification",
                                          "NSWindowDidChangeOcclusionStateNotification",
                                          "NSApplicationDidBecomeActiveNotification",
                                          "NSWindowDidBecomeKeyNotification"));
  });
}

TEST_F(AppKitTest, TellsWhenAWindowIsCovered) {
  run([this] {
    takePosted();
    standin::coverWindow(window());
    EXPECT_TRUE(window().isVisible);
    EXPECT_EQ(window().occlusionState & NSWindowOcclusionStateVisible, 0U);
    standin::uncoverWindow(window());
    EXPECT_EQ(window().occlusionState & NSWindowOcclusionStateVisible,
              NSWindowOcclusionStateVisible);
    EXPECT_THAT(takePosted(), ElementsAre("NSWindowDidChangeOcclusionStateNotification",
                                          "NSWindowDidChangeOcclusionStateNotification"));
    standin::changeApplicationOcclusion();
    EXPECT_THAT(takePosted(), ElementsAre("NSApplicationDidChangeOcclusionStateNotification"));
  });
}

TEST_F(AppKitTest, ActivatesAndDeactivatesOnce) {
  run([this] {
    takePosted();
    standin::activateApplication();
    EXPECT_THAT(takePosted(), IsEmpty());
    standin::deactivateApplication();
    EXPECT_FALSE(window().isKeyWindow);
    standin::deactivateApplication();
    EXPECT_THAT(takePosted(), ElementsAre("NSApplicationDidResignActiveNotification"));
    standin::activateApplication();
    EXPECT_TRUE(window().isKeyWindow);
  });
}

TEST_F(AppKitTest, KeepsWhatAWindowIsGiven) {
  @autoreleasepool {
    NSWindow* plain = [[NSWindow alloc] init];
    plain.title = @"Title";
    plain.alphaValue = 0.25;
    plain.contentMinSize = NSMakeSize(1, 2);
    [plain setContentSize:NSMakeSize(30, 40)];
    EXPECT_TRUE([plain.title isEqualToString:@"Title"]);
    EXPECT_EQ(plain.alphaValue, 0.25);
    EXPECT_EQ(plain.contentMinSize.height, 2);
    EXPECT_EQ([plain.contentView frame].size.width, 30);
    EXPECT_EQ(plain.contentViewController, nil);
  }
}

TEST_F(AppKitTest, LoadsAViewOnFirstUse) {
  @autoreleasepool {
    NSViewController* controller = [[NSViewController alloc] init];
    EXPECT_THAT(callsOf("-[NSView initWithFrame:]"), IsEmpty());
    NSView* view = controller.view;
    EXPECT_EQ(controller.view, view);
    EXPECT_NE([[NSView alloc] init], nil);
  }
}

TEST_F(AppKitTest, KnowsOnlyTheMainNib) {
  @autoreleasepool {
    EXPECT_NE([[NSViewController alloc] initWithNibName:@"Other" bundle:nil], nil);
  }
  EXPECT_THAT(takeViolations(), ElementsAre("There is no nib but the main one."));
}

TEST_F(AppKitTest, RefusesAWindowWithoutATitle) {
  @autoreleasepool {
    NSString* none = nil;
    [[[NSWindow alloc] init] setTitle:none];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("nil")));
}

TEST_F(AppKitTest, BelongsToTheMainThread) {
  standin::onSystemThread([] {
    @autoreleasepool {
      NSWindow* other = [[NSWindow alloc] init];
      [other center];
      EXPECT_FALSE(other.isVisible);
      EXPECT_FALSE(other.isMiniaturized);
    }
  });
  standin::settle();
  const auto violations = takeViolations();
  EXPECT_THAT(violations, IsSupersetOf({HasSubstr("initWithContentRect"), HasSubstr("center"),
                                        HasSubstr("isVisible"), HasSubstr("isMiniaturized"),
                                        HasSubstr("dealloc")}));
}

}  // namespace
