#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>

#include "platform/Value.h"
#include "platform/unix/MainLoopSource.h"
#include "webui/remote/RateController.h"

namespace quorvin::webui {

// The rates of all guests of a session, and the one picture that suits them: each setting is the
// least that one of them wishes, and never more than what was chosen. On the main loop's thread.
class PictureRate {
 public:
  struct Timing {
    std::function<RateTime()> now = std::chrono::steady_clock::now;
    std::chrono::milliseconds reviewInterval{250};
  };

  // What goes to one guest; must not outlive its PictureRate.
  class Guest {
   public:
    // `onDue` is called when the gate may have opened by itself for a frame that waits.
    Guest(PictureRate& all, std::function<void()> onDue);
    Guest(const Guest&) = delete;
    Guest& operator=(const Guest&) = delete;
    ~Guest();

    [[nodiscard]] bool open() const { return controller.open(all.timing.now()); }
    // As in RateController.
    void offered(bool waits);
    void sent(std::size_t bytes, std::size_t wholeBytes);
    void acknowledged(std::int64_t frames);
    // Calls `onDue` once the gate is open, if no acknowledgement has to come first.
    void awaitOpening();

   private:
    friend class PictureRate;
    PictureRate& all;
    std::function<void()> onDue;
    RateController controller;
    MainLoopSource opening;
  };

  // What a session begins with (docs/channels.md); the host does not say.
  [[nodiscard]] static const Map& hostDefaults();

  // `onReview` is called while there are guests, whenever `reduced` and `steps` may have changed.
  PictureRate(std::function<void()> onReview, Timing timing);

  // The settings of "configureStream" that a page has chosen, or null for the host's own, and
  // whether every page that shows the picture can show H.264.
  void choose(const Value& settings, bool mayBeVideo);
  // Those settings with what the guests' rates allow in the place of what is more.
  [[nodiscard]] Value reduced(const Value& settings) const;
  // By which the picture is less than was chosen.
  [[nodiscard]] int steps() const;

 private:
  void review();

  std::function<void()> onReview;
  Timing timing;
  ChosenPicture chosen;
  bool mayBeVideo = false;
  std::set<Guest*> guests;
  MainLoopSource reviews;
};

}  // namespace quorvin::webui
