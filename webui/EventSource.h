#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <utility>

namespace quorvin::webui {

// A source of the default main loop that lives no longer than this object. The callbacks run on
// the main loop's thread; one that returns false is not called again. A callback may destroy its
// own EventSource.
class EventSource {
 public:
  EventSource() = default;
  EventSource(EventSource&& other) noexcept : source(std::exchange(other.source, nullptr)) {}
  EventSource& operator=(EventSource&& other) noexcept {
    std::swap(source, other.source);
    return *this;
  }
  EventSource(const EventSource&) = delete;
  EventSource& operator=(const EventSource&) = delete;
  ~EventSource() { cancel(); }

  [[nodiscard]] static EventSource every(std::chrono::milliseconds interval,
                                         std::function<bool()> callback);
  [[nodiscard]] static EventSource once(std::chrono::milliseconds delay,
                                        std::function<void()> callback);
  [[nodiscard]] static EventSource onDescriptor(int descriptor, GIOCondition conditions,
                                                std::function<bool()> callback);
  [[nodiscard]] static EventSource onSignal(int signalNumber, std::function<bool()> callback);

  // Whether the callback may still be called.
  [[nodiscard]] bool pending() const;
  void cancel();

 private:
  explicit EventSource(GSource* source) : source(source) {}

  GSource* source = nullptr;  // one reference
};

}  // namespace quorvin::webui
