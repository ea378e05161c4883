#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/InputEvents.h"
#include "platform/Value.h"

namespace quorvin {

// Turns the supporter's input events, one map each, into input events of the system, and keeps
// what is held down on their behalf, so that all of it can be let go. Click counts and the repeats
// of a held key are the sender's business.
//
// One thread: the one on which the method channel calls.
class RemoteInputController {
 public:
  // The display that input is mapped onto, in the global coordinate space, or nothing while there
  // is none. Asked anew for every mouse event, on the controller's thread.
  using Bounds = std::function<std::optional<Rect>()>;
  using Post = std::function<void(const std::shared_ptr<InputEvent>&)>;

  // Posts at the session event tap.
  RemoteInputController(InputEvents& inputEvents, Bounds bounds);
  RemoteInputController(InputEvents& inputEvents, Bounds bounds, Post post);
  RemoteInputController(const RemoteInputController&) = delete;
  RemoteInputController& operator=(const RemoteInputController&) = delete;
  // Nothing may be held any more.
  ~RemoteInputController();

  // Posts the event, if the system can make it. Throws Error when the map is no good event; then
  // nothing has changed and nothing was posted.
  void apply(const Map& event);

  // Lets go of everything that is held: the buttons first, so that their releases still carry the
  // modifiers.
  void releaseAll();

  // A place on the display, from its first (0) to its last (1) column and row of pixels. Empty
  // when the place is not on the display or the display has no extent. Not rounded.
  [[nodiscard]] static std::optional<Point> point(double x, double y, const Rect& display);

  // What is held, and where the pointer was put last.
  [[nodiscard]] const std::set<std::string>& heldButtons() const { return buttons; }
  [[nodiscard]] const std::set<std::int64_t>& heldKeys() const { return keys; }
  [[nodiscard]] const std::map<std::string, std::int64_t>& clickCounts() const { return clicks; }
  [[nodiscard]] Point pointer() const { return lastPoint; }

 private:
  enum class MouseAction { move, down, up };

  void applyMouse(MouseAction action, const Map& event);
  void applyScroll(const Map& event);
  void applyKey(bool keyDown, const Map& event);
  void postMouse(MouseAction action, const std::string& button);
  void postButtonRelease(const std::string& button);
  void postKey(std::int64_t keyCode, bool keyDown);
  [[nodiscard]] std::string buttonOfMove() const;
  [[nodiscard]] EventFlags flags() const;

  InputEvents& inputEvents;
  std::shared_ptr<EventSource> source;  // null: events are made without one
  Bounds bounds;
  Post post;
  std::set<std::string> buttons;
  std::set<std::int64_t> keys;  // virtual key codes of macOS
  Point lastPoint;
  std::map<std::string, std::int64_t> clicks;  // of each held button
};

}  // namespace quorvin
