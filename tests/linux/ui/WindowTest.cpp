// A window on the GTK thread and a virtual screen without a window manager.

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "platform/linux/dispatch/Dispatch.h"
#include "platform/linux/ui/GtkThread.h"
#include "platform/linux/ui/NotificationCenter.h"
#include "platform/linux/ui/Window.h"
#include "tests/linux/link/TestLoop.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

// A screen, and GTK on it. GTK opens one display in the life of a process.
struct Screen {
  Screen() {
    ::setenv("DISPLAY", server.display().c_str(), 1);
    ::setenv("NO_AT_BRIDGE", "1", 1);
    gtk = std::make_unique<GtkThread>([](bool /*wasOpen*/) {});
    // While it starts, GDK would end the process together with the server.
    while (!gtk->isReady()) std::this_thread::yield();
  }

  XServer server{{"-noreset"}};
  std::unique_ptr<GtkThread> gtk;
};

class WindowTest : public testing::Test {
 protected:
  WindowTest() {
    observer =
        center.addObserver(Notification::windowDidChangeOcclusionState, window.get(), [this] {
          seenWhenTold.push_back(window->isVisible() &&
                                 window->occlusionState() == windowOcclusionStateVisible);
        });
  }

  bool isShown() {
    window->showAfterLoading();
    return loop.runUntil([&] { return !seenWhenTold.empty(); });
  }

  static GtkThread& gtk() {
    static const Screen screen;
    return *screen.gtk;
  }

  TestLoop loop;
  LinuxDispatch dispatch;
  LinuxNotificationCenter center;
  int changes = 0;
  std::unique_ptr<LinuxWindow> window = std::make_unique<LinuxWindow>(
      gtk(), dispatch.mainQueue(), center,
      LinuxWindow::Callbacks{.onClose = [] {},
                             .onStateChange =
                                 [this](const WindowState&, const WindowState&) {
                                   ++changes;
                                 }});
  std::shared_ptr<NotificationObserver> observer;
  std::vector<bool> seenWhenTold;
};

TEST_F(WindowTest, IsOutOfSightUntilItIsShown) {
  EXPECT_FALSE(window->isVisible());
  EXPECT_FALSE(window->isMiniaturized());
  EXPECT_EQ(window->occlusionState(), 0U);
}

TEST_F(WindowTest, IsSeenByTheTimeItTellsSo) {
  ASSERT_TRUE(isShown());
  EXPECT_EQ(seenWhenTold, std::vector{true});
}

TEST_F(WindowTest, IsOutOfSightAtOnceWhenOrderedOut) {
  ASSERT_TRUE(isShown());
  window->orderOut();
  EXPECT_EQ(seenWhenTold, (std::vector{true, false}));
  EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowTest, StaysOutOfSightWhateverIsStillHeardOfIt) {
  window->showAfterLoading();
  window->orderOut();
  const auto heard = changes;
  ASSERT_TRUE(loop.runUntil([&] { return changes >= heard + 2; }));
  EXPECT_TRUE(seenWhenTold.empty());
  EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowTest, TellsNothingOnceItIsGone) {
  window->showAfterLoading();
  window.reset();
  bool isDrawn = false;
  gtk().post([&, queue = dispatch.mainQueue()] { queue->async([&] { isDrawn = true; }); });
  ASSERT_TRUE(loop.runUntil([&] { return isDrawn; }));
  EXPECT_EQ(changes, 0);
}

}  // namespace
}  // namespace quorvin
