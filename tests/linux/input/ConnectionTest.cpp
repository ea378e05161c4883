#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "platform/linux/x11/X11Monitors.h"
#include "tests/linux/input/InputHarness.h"
#include "tests/linux/system/ForbidThreads.h"
#include "tests/linux/system/UnusedDisplay.h"
#include "tests/linux/system/WaitingTime.h"

namespace quorvin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
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
    events.sync();
    EXPECT_FALSE(events.displayIsActive(1));
    EXPECT_EQ(events.displayBounds(1), Rect{});
    EXPECT_TRUE(journal.isEmpty());
  }
}

TEST(InputConnection, PostsNothingWithoutAThread) {
  const XServer server(InputHarness::withScreen({}));
  const auto use = [&] {
    forbidThreads();
    JournalRecord journal;
    LinuxInputEvents events(server.display(), journal);
    for (int round = 0; round < 3; ++round) postSomething(events);
    const bool isPossible = events.displayIsActive(1) || events.sync();
    std::_Exit(isPossible || !journal.isEmpty() ? 1 : 0);
  };
  EXPECT_EXIT(use(), testing::ExitedWithCode(0), "^quorvin-support: no remote input: [^\n]*\n$");
}

TEST(InputConnection, PostsNothingToAServerWithoutXTest) {
  const XServer server(InputHarness::withScreen({"-extension", "XTEST"}));
  InputWatcher watcher(server.display());
  JournalRecord journal;
  LinuxInputEvents events(server.display(), journal);
  postSomething(events);
  events.sync();
  EXPECT_THAT(watcher.take(), IsEmpty());
  EXPECT_TRUE(journal.isEmpty());
}

TEST(InputConnection, IgnoresAnEventThatIsNotOfThisSystem) {
  InputHarness harness;
  harness.events->post(EventTapLocation::session, nullptr);
  EXPECT_THAT(harness.take(), IsEmpty());
}

// Whoever asks the server for all its attention: no other client is served until it lets go.
class Grab {
 public:
  explicit Grab(const std::string& display) : connection(display) {
    (void)connection.succeeded(xcb_grab_server_checked(connection.get()));
  }

 private:
  X11Connection connection;
};

// What the host's main thread may wait in a lot of events.
constexpr auto atOnce = std::chrono::seconds(1);

void clickDragAndType(InputHarness& harness) {
  harness.mouse(MouseEventType::leftMouseDown, {9, 9});
  for (int event = 0; event < 100'000; ++event) {
    harness.mouse(MouseEventType::leftMouseDragged, {event % 600 * 1.0, 9});
  }
  harness.type(mac::a);
  harness.mouse(MouseEventType::leftMouseUp, {9, 9});
}

TEST(InputConnection, DoesNotWaitForAServerThatHangs) {
  InputHarness harness;
  harness.type(mac::a);
  harness.mouse(MouseEventType::mouseMoved, {5, 5});
  (void)harness.take();
  harness.server.freeze();
  const WaitingTime waited;
  clickDragAndType(harness);
  EXPECT_FALSE(harness.events->displayIsActive(987'654'321));
  EXPECT_FALSE(harness.events->endWithin(std::chrono::milliseconds(1)));
  EXPECT_LT(waited.passed(), atOnce);
  harness.server.thaw();
  harness.events.reset();
  EXPECT_EQ(harness.take().back().kind, SeenEvent::Kind::buttonUp);
  EXPECT_THAT(harness.synced().keysDown(), IsEmpty());
}

TEST(InputConnection, DoesNotWaitForAServerThatAnotherProgramHasGrabbed) {
  InputHarness harness;
  harness.type(mac::a);
  (void)harness.take();
  std::optional<Grab> grab(harness.server.display());
  const WaitingTime waited;
  clickDragAndType(harness);
  EXPECT_LT(waited.passed(), atOnce);
  grab.reset();
  EXPECT_EQ(harness.take().back().kind, SeenEvent::Kind::buttonUp);
  EXPECT_THAT(harness.synced().keysDown(), IsEmpty());
  harness.type(mac::a);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_a));
}

using Context = std::unique_ptr<GMainContext, decltype(&g_main_context_unref)>;

// The first turn may be the end of what the thread did before, the second one is not.
void waitForTwoTurns(GMainContext* context, std::atomic<int>& turns) {
  GSource* source = g_idle_source_new();
  g_source_set_callback(
      source,
      [](void* counted) {
        const bool isFirst = ++*static_cast<std::atomic<int>*>(counted) == 1;
        return isFirst ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
      },
      &turns, nullptr);
  g_source_attach(source, context);
  g_source_unref(source);
  while (turns < 2) std::this_thread::yield();
}

// Nobody wants to see what was clicked and typed on a screen that stood still.
TEST(InputConnection, DropsWhatCameWhileTheServerHungButForReleases) {
  std::atomic<int> turns = 0;
  const Context context(g_main_context_new(), &g_main_context_unref);
  InputHarness harness;
  harness.events.emplace(harness.server.display(), harness.record, context.get());
  harness.keyDown(mac::shift);
  harness.mouse(MouseEventType::leftMouseDown, {5, 5});
  (void)harness.take();
  harness.server.freeze();
  harness.mouse(MouseEventType::leftMouseDragged, {6, 6});
  // Then the thread is waiting for the server, and will have for long enough.
  waitForTwoTurns(context.get(), turns);
  harness.mouse(MouseEventType::rightMouseDown, {7, 7}, MouseButton::right);
  harness.keyUp(mac::shift);
  harness.type(mac::a);
  harness.mouse(MouseEventType::leftMouseUp, {8, 8});
  EXPECT_FALSE(harness.events->sync(InputThread::hangsAfter));
  harness.server.thaw();
  std::vector<SeenEvent::Kind> seen;
  for (const auto& event : harness.take()) {
    if (event.kind != SeenEvent::Kind::motion) seen.push_back(event.kind);
  }
  EXPECT_THAT(seen, ElementsAre(SeenEvent::Kind::keyUp, SeenEvent::Kind::buttonUp));
  harness.type(mac::a);
  EXPECT_THAT(harness.takeTyped(), ElementsAre(XKB_KEY_a));
}

// As the host does: nothing is left for whoever comes after it.
TEST(InputConnection, LeavesEverythingAsItWasFoundWhenItEnds) {
  InputHarness harness;
  harness.desk.setLayout("ru");
  const auto before = harness.desk.condition();
  harness.keyDown(mac::shift);
  harness.keyDown(mac::a);
  harness.mouse(MouseEventType::leftMouseDown, {3, 3});
  EXPECT_TRUE(harness.events->endWithin(std::chrono::seconds(10)));
  EXPECT_EQ(harness.desk.condition(), before);
  EXPECT_THAT(harness.watcher.take(), Contains(Field(&SeenEvent::kind, SeenEvent::Kind::buttonUp)));
  EXPECT_THAT(harness.record.bound, IsEmpty());
  harness.keyDown(mac::a);
  EXPECT_EQ(harness.desk.condition(), before);
}

TEST(InputConnection, DoesNotWaitForAServerThatNeverAnswered) {
  const XServer server(InputHarness::withScreen({}));
  server.freeze();
  JournalRecord journal;
  LinuxInputEvents events(server.display(), journal);
  const WaitingTime waited;
  for (int round = 0; round < 1000; ++round) postSomething(events);
  EXPECT_FALSE(events.displayIsActive(1));
  EXPECT_FALSE(events.endWithin(std::chrono::milliseconds(1)));
  EXPECT_LT(waited.passed(), atOnce);
  server.thaw();
}

// The first press of a busy machine would otherwise wait for longer than it may.
TEST(InputConnection, PreparesItsJournalBeforeAnythingIsPressed) {
  InputHarness harness;
  EXPECT_TRUE(harness.journal().isPrepared);
}

TEST(InputConnection, IsReadyOnceItsDisplaysAreKnown) {
  const XServer server(InputHarness::withScreen({}));
  X11Connection connection(server.display());
  const auto monitor = listMonitors(connection, X11Extensions::negotiate(connection)).front().id;
  server.freeze();
  JournalRecord journal;
  LinuxInputEvents events(server.display(), journal);
  events.open();
  EXPECT_FALSE(events.isReady());
  EXPECT_FALSE(events.displayIsActive(monitor));
  server.thaw();
  while (!events.isReady()) std::this_thread::yield();
  EXPECT_TRUE(events.displayIsActive(monitor));
}

TEST(InputConnection, IsReadyWithoutAServerToo) {
  JournalRecord journal;
  LinuxInputEvents events(unusedDisplay(), journal);
  events.open();
  while (!events.isReady()) std::this_thread::yield();
  EXPECT_FALSE(events.displayIsActive(1));
  EXPECT_TRUE(LinuxInputEvents("", journal).isReady());
}

TEST(InputConnection, ComesBackWithTheServer) {
  std::optional<InputHarness> harness(std::in_place);
  const std::string display = harness->server.display();
  harness->type(mac::a);
  harness->keyDown(mac::shift);
  harness->mouse(MouseEventType::leftMouseDown, {3, 3});
  harness->server.end();
  harness->type(mac::a);
  harness->events->sync();
  EXPECT_FALSE(harness->events->displayIsActive(1));

  const XServer again({display, "-screen", "0", "640x480x24", "-noreset"});
  InputWatcher watcher(display);
  harness->type(mac::a);
  harness->events->sync();
  EXPECT_THAT(watcher.takeTyped(), ElementsAre(XKB_KEY_a));
}

TEST(InputConnection, UndoesWhatABrokenOneLeft) {
  InputHarness harness;
  harness.desk.setLayout("ru");
  const auto before = harness.desk.condition();
  const int socket = lowestFreeDescriptor();
  harness.keyDown(mac::shift);
  harness.keyDown(mac::a);
  harness.mouse(MouseEventType::leftMouseDown, {3, 3});
  (void)harness.take();
  ASSERT_EQ(shutdown(socket, SHUT_RDWR), 0);
  harness.events->sync();
  EXPECT_THAT(harness.synced().keysDown(), IsEmpty());
  EXPECT_THAT(harness.take(), Contains(Field(&SeenEvent::kind, SeenEvent::Kind::buttonUp)));
  harness.events.reset();
  EXPECT_EQ(harness.synced().condition(), before);
  EXPECT_THAT(harness.journal().bound, IsEmpty());
}

}  // namespace
}  // namespace quorvin
