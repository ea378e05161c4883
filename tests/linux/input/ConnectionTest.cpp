#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <optional>
#include <string>

#include "tests/linux/input/InputStand.h"
#include "tests/linux/system/UnusedDisplay.h"

namespace quorvin {
namespace {

using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;

void postSomething(LinuxInputEvents& events) {
  const auto post = [&](const std::shared_ptr<InputEvent>& event) {
    events.post(EventTapLocation::session, event);
  };
  post(events.createMouseEvent(nullptr, MouseEventType::leftMouseDown, {1, 1}, MouseButton::left));
  post(events.createKeyboardEvent(nullptr, mac::a, true));
  post(events.createScrollWheelEvent(nullptr, ScrollEventUnit::pixel, 2, 100, 100, 0));
  post(events.createKeyboardEvent(nullptr, mac::a, false));
  post(events.createMouseEvent(nullptr, MouseEventType::leftMouseUp, {1, 1}, MouseButton::left));
}

// That of the connection which is made next.
int lowestFreeDescriptor() {
  const int descriptor = dup(STDERR_FILENO);
  close(descriptor);
  return descriptor;
}

TEST(InputConnection, PostsNothingWithoutADisplay) {
  JournalRecord journal;
  for (const auto& display : {std::string(), unusedDisplay()}) {
    LinuxInputEvents events(display, journal);
    postSomething(events);
    EXPECT_FALSE(events.displayIsActive(1));
    EXPECT_EQ(events.displayBounds(1), Rect{});
    EXPECT_TRUE(journal.isEmpty());
  }
}

TEST(InputConnection, PostsNothingToAServerWithoutXTest) {
  const XServer server(InputStand::withScreen({"-extension", "XTEST"}));
  InputWatcher watcher(server.display());
  JournalRecord journal;
  LinuxInputEvents events(server.display(), journal);
  postSomething(events);
  events.settle();
  EXPECT_THAT(watcher.take(), IsEmpty());
  EXPECT_TRUE(journal.isEmpty());
}

TEST(InputConnection, IgnoresAnEventThatIsNotOfThisSystem) {
  InputStand stand;
  stand.events->post(EventTapLocation::session, nullptr);
  EXPECT_THAT(stand.take(), IsEmpty());
}

TEST(InputConnection, DoesNotWaitForAServerThatHangs) {
  InputStand stand;
  stand.type(mac::a);
  stand.mouse(MouseEventType::mouseMoved, {5, 5});
  (void)stand.take();
  stand.server.freeze();
  const auto start = steady_clock::now();
  stand.mouse(MouseEventType::leftMouseDown, {9, 9});
  for (int event = 0; event < 100'000; ++event) {
    stand.mouse(MouseEventType::leftMouseDragged, {event % 600 * 1.0, 9});
  }
  stand.type(mac::a);
  stand.mouse(MouseEventType::leftMouseUp, {9, 9});
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
  stand.server.thaw();
  const auto seen = stand.watcher.takeAtLeast(3);
  EXPECT_EQ(seen.back().kind, SeenEvent::Kind::buttonUp);
  EXPECT_TRUE(stand.journal.isEmpty());
  stand.type(mac::a);
  EXPECT_THAT(stand.takeTyped(), ElementsAre(XKB_KEY_a));
}

TEST(InputConnection, DoesNotWaitLongForAServerThatNeverAnswered) {
  const XServer server(InputStand::withScreen({}));
  server.freeze();
  JournalRecord journal;
  LinuxInputEvents events(server.display(), journal);
  const auto start = steady_clock::now();
  for (int round = 0; round < 1000; ++round) postSomething(events);
  EXPECT_FALSE(events.displayIsActive(1));
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_TRUE(journal.isEmpty());
  server.thaw();
}

TEST(InputConnection, ComesBackWithTheServer) {
  std::optional<InputStand> stand(std::in_place);
  const std::string display = stand->server.display();
  stand->type(mac::a);
  stand->keyDown(mac::shift);
  stand->mouse(MouseEventType::leftMouseDown, {3, 3});
  stand->server.end();
  stand->type(mac::a);
  EXPECT_FALSE(stand->events->displayIsActive(1));

  const XServer again({display, "-screen", "0", "640x480x24", "-noreset"});
  InputWatcher watcher(display);
  stand->type(mac::a);
  stand->events->settle();
  EXPECT_THAT(watcher.takeTyped(), ElementsAre(XKB_KEY_a));
  EXPECT_TRUE(stand->journal.isEmpty());
}

TEST(InputConnection, UndoesWhatABrokenOneLeft) {
  InputStand stand;
  stand.desk.setLayout("ru");
  const auto before = stand.desk.condition();
  const int socket = lowestFreeDescriptor();
  stand.keyDown(mac::shift);
  stand.keyDown(mac::a);
  stand.mouse(MouseEventType::leftMouseDown, {3, 3});
  (void)stand.take();
  ASSERT_EQ(shutdown(socket, SHUT_RDWR), 0);
  stand.events->settle();
  EXPECT_THAT(stand.settled().keysDown(), IsEmpty());
  EXPECT_TRUE(stand.journal.buttons.empty());
  EXPECT_TRUE(stand.journal.keys.empty());
  stand.events.reset();
  EXPECT_EQ(stand.settled().condition(), before);
  EXPECT_TRUE(stand.journal.isEmpty());
}

}  // namespace
}  // namespace quorvin
