#import "platform/macos/Window.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#import "platform/macos/Flutter.h"
#include "tests/macos/backend/ApplicationFixture.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WindowTest : public ApplicationFixture {
 protected:
  void SetUp() override {
    ApplicationFixture::SetUp();
    [NSApplication sharedApplication];
    standin::activateApplication();
    @autoreleasepool {
      nsWindow = makeNSWindow();
    }
    window = std::make_unique<MacWindow>(nsWindow);
    standin::resetCallLog();
  }
  void TearDown() override {
    window.reset();
    nsWindow = nil;
    ApplicationFixture::TearDown();
  }

  // The one call that the last operation came to.
  static std::vector<std::string> onlyCall() {
    const auto calls = standin::calls();
    EXPECT_EQ(calls.size(), 1U);
    std::vector<std::string> call{calls.at(0).name};
    for (const auto& argument : calls[0].arguments) call.push_back(argument);
    standin::resetCallLog();
    return call;
  }

  NSWindow* nsWindow;
  std::unique_ptr<MacWindow> window;
};

TEST_F(WindowTest, SetsWhatItIsTold) {
  window->setContentSize({720, 640});
  EXPECT_THAT(onlyCall(), ElementsAre("-[NSWindow setContentSize:]", "720 x 640"));
  window->center();
  EXPECT_THAT(onlyCall(), ElementsAre("-[NSWindow center]"));
  window->setContentMinSize({320, 240.5});
  EXPECT_THAT(onlyCall(), ElementsAre("-[NSWindow setContentMinSize:]", "320 x 240.5"));
  window->setTitle("H\xC3\xB6he");
  EXPECT_THAT(onlyCall(), ElementsAre("-[NSWindow setTitle:]", "H\xC3\xB6he"));
  window->setAlphaValue(0.5);
  EXPECT_THAT(onlyCall(), ElementsAre("-[NSWindow setAlphaValue:]", "0.500000"));
  window->orderOut();
  EXPECT_THAT(onlyCall(), ElementsAre("-[NSWindow orderOut:]", "nil"));
}

TEST_F(WindowTest, ShowsTheViewOfItsController) {
  @autoreleasepool {
    MacFlutter flutter;
    const auto controller = flutter.makeViewController();
    window->setContentViewController(controller);
    EXPECT_EQ(nsWindow.contentViewController,
              dynamic_cast<MacFlutterViewController&>(*controller).controller());
    EXPECT_EQ(nsWindow.contentView, nsWindow.contentViewController.view);
  }
}

TEST_F(WindowTest, KeepsItsControllerWhenNobodyElseDoes) {
  @autoreleasepool {
    window->setContentViewController(MacFlutter().makeViewController());
  }
  EXPECT_TRUE([nsWindow.contentViewController isKindOfClass:[::FlutterViewController class]]);
}

TEST_F(WindowTest, RefusesAnotherMakersController) {
  EXPECT_DEATH(window->setContentViewController(nullptr), "another maker");
}

TEST_F(WindowTest, TellsWhetherItCanBeSeen) {
  EXPECT_FALSE(window->isVisible());
  [nsWindow makeKeyAndOrderFront:nil];
  EXPECT_TRUE(window->isVisible());
  EXPECT_FALSE(window->isMiniaturized());
  [nsWindow miniaturize:nil];
  EXPECT_TRUE(window->isMiniaturized());
  EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowTest, TellsWhetherOthersCoverIt) {
  [nsWindow makeKeyAndOrderFront:nil];
  EXPECT_EQ(window->occlusionState(), nsWindow.occlusionState);
  EXPECT_NE(window->occlusionState() & windowOcclusionStateVisible, 0U);
  standin::coverWindow(nsWindow);
  EXPECT_EQ(window->occlusionState(), nsWindow.occlusionState);
  EXPECT_EQ(window->occlusionState() & windowOcclusionStateVisible, 0U);
}

TEST_F(WindowTest, DoesNotKeepTheWindow) {
  @autoreleasepool {
    [nsWindow makeKeyAndOrderFront:nil];
    EXPECT_EQ(window->notificationObject(), nsWindow);
    nsWindow = nil;
  }
  EXPECT_THAT(standin::callsOf("-[NSWindow dealloc]"), testing::SizeIs(1));
  standin::resetCallLog();
  window->center();
  window->orderOut();
  EXPECT_FALSE(window->isVisible());
  EXPECT_FALSE(window->isMiniaturized());
  EXPECT_EQ(window->occlusionState(), 0U);
  EXPECT_EQ(window->notificationObject(), nil);
  EXPECT_THAT(standin::calls(), IsEmpty());
}

}  // namespace
}  // namespace quorvin
