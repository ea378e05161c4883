#pragma once

#include <glib.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/Geometry.h"
#include "platform/InputEvents.h"
#include "platform/Mutex.h"
#include "platform/linux/input/InputInjector.h"
#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/InputQueue.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Monitors.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin {

// A thread that works the pointer and the keyboard of an X server. It connects when that is first
// needed, and again when the connection broke. It may wait for the server for any time; nobody
// waits for this thread.
//
// It takes the next record once the server has carried out the one before. After a hang of the
// server, only the releases of what came meanwhile are carried out. While the thread waits it
// serves the context, where the journal has its sources. One other thread calls the functions here.
class InputThread {
 public:
  // A server that is merely busy takes less than this for one record, also when the first press has
  // to wait for whoever is to undo it.
  static constexpr auto hangsAfter = std::chrono::seconds(2);

  // `display` as in DISPLAY; there is no thread when it is empty. Without a context the thread
  // makes one of its own. The journal, which the thread alone uses, must outlive this object.
  InputThread(std::string display, InputJournal& journal, GMainContext* context);
  // Waits for the end of the thread, and so for the server.
  ~InputThread();

  // Sees to it that there is a connection soon. Without a thread to be had there is none, which is
  // reported on standard error once.
  void open();
  // Whether that has come to something: the displays are known, or there is no connection.
  [[nodiscard]] bool isReady();
  void post(const LinuxInputEvent::Record& record);
  // As the server has told last, in the coordinates of the root window, which are the global space.
  // Empty when there is no such display, or no connection (yet).
  [[nodiscard]] std::optional<Rect> boundsOf(DisplayID id);

  // Waits until what was posted has been carried out and all news from the server is known. False
  // when that was not within the time, or cannot be.
  bool sync(std::chrono::milliseconds limit);
  // Has everything carried out that was posted, releases what is held, leaves the keyboard as it
  // was found and ends the thread. Nothing is posted from now on. True when that was done within
  // the time; the thread goes on with it otherwise.
  bool endWithin(std::chrono::milliseconds limit);

 private:
  using Clock = std::chrono::steady_clock;

  // What has been asked of the thread.
  struct Calls {
    bool isConnectionWanted = false;
    std::uint64_t syncsAsked = 0;
    bool isEnding = false;
  };

  void wake() { g_main_context_wakeup(context.get()); }

  // The rest runs on the thread.
  void run();
  [[nodiscard]] Calls takeCalls();
  [[nodiscard]] std::optional<LinuxInputEvent::Record> takeRecord();
  void answer(std::uint64_t syncs);
  void connect();
  // Keeps in mind what is left to be undone.
  void disconnect();
  void leaveConnection();
  void takeNews();
  void carryOut(const LinuxInputEvent::Record& record);
  // After the server has been waited for since then.
  void forgetIfHung(Clock::time_point begin);
  void publish(bool connected, std::vector<X11Monitor> found);

  const std::string display;
  InputJournal& journal;
  const GlibPtr<GMainContext> context;

  std::unique_ptr<X11Connection> connection;
  std::unique_ptr<InputInjector> injector;         // as long as there is a connection
  InputInjector::PendingReleases pendingReleases;  // of the last one, when its connection broke
  MainLoopSource serverWatch;

  Mutex mutex;
  std::condition_variable changed;
  InputQueue queue QUORVIN_GUARDED_BY(mutex);
  Calls calls QUORVIN_GUARDED_BY(mutex);
  std::uint64_t syncsDone QUORVIN_GUARDED_BY(mutex) = 0;
  bool isConnected QUORVIN_GUARDED_BY(mutex) = false;
  bool hasTried QUORVIN_GUARDED_BY(mutex) = false;   // to connect
  bool hasFailed QUORVIN_GUARDED_BY(mutex) = false;  // to make the thread
  bool hasEnded QUORVIN_GUARDED_BY(mutex) = false;
  std::vector<X11Monitor> monitors QUORVIN_GUARDED_BY(mutex);

  std::thread thread;
};

// Input for the X server that a display name stands for. The global coordinate space is that of the
// root window, and displays are those that can be captured, as the server has told last. When there
// is no server, or one that takes no input, posting does nothing. No call but sync() waits for
// the server; everything that does is done by an InputThread.
class LinuxInputEvents final : public InputEvents {
 public:
  // `display` as in DISPLAY; none when it is empty. The journal must outlive this object, and is
  // used by the thread alone, which serves the context if there is one.
  LinuxInputEvents(std::string display, InputJournal& journal, GMainContext* context = nullptr);

  // Has the connection made that is otherwise made when it is first needed. Until it is, no display
  // is active.
  void open() { thread.open(); }

  [[nodiscard]] std::shared_ptr<EventSource> createSource(EventSourceState state) override;
  [[nodiscard]] std::shared_ptr<InputEvent> createMouseEvent(
      const std::shared_ptr<EventSource>& source, MouseEventType type, Point position,
      MouseButton button) override;
  [[nodiscard]] std::shared_ptr<InputEvent> createScrollWheelEvent(
      const std::shared_ptr<EventSource>& source, ScrollEventUnit units, std::uint32_t wheelCount,
      std::int32_t wheel1, std::int32_t wheel2, std::int32_t wheel3) override;
  [[nodiscard]] std::shared_ptr<InputEvent> createKeyboardEvent(
      const std::shared_ptr<EventSource>& source, std::uint16_t virtualKey, bool keyDown) override;
  void post(EventTapLocation tap, const std::shared_ptr<InputEvent>& event) override;
  [[nodiscard]] bool displayIsActive(DisplayID display) override;
  [[nodiscard]] Rect displayBounds(DisplayID display) override;

  // Waits until what was posted has been carried out and what the server has told is known; false
  // when that was not within the time.
  bool sync(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    return thread.sync(limit);
  }
  // Whether the displays are known since open(), or cannot be.
  [[nodiscard]] bool isReady() { return thread.isReady(); }
  // At the end of the program: releases everything and leaves the keyboard as it was found, which
  // goes on without the caller when it is not done within the time. Whether it is.
  bool endWithin(std::chrono::milliseconds limit) { return thread.endWithin(limit); }

 private:
  InputThread thread;
};

}  // namespace quorvin
