#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

#include "webui/remote/PictureLadder.h"

namespace quorvin::webui {

// What may be sent to one receiver over a way whose rate nobody knows, so that little waits on it:
// when the next frame may go, and which settings to ask for. Time is given in and never runs back.
//
// What is known is when each frame went, and when the receiver acknowledged it after drawing it.
// From that:
//
// - Queueing: the round trip less the shortest of ten seconds. A queue that never ends would be
//   taken for a longer way. So every ten seconds, and after two when even this frame's time at the
//   rate does not explain its round trip, nothing goes until all is acknowledged, and the next
//   round trip tells.
// - The rate: bytes acknowledged in stretches of a tenth of a second or more in which some could
//   be. A greater one is followed by 25 % a stretch: growing by a tenth each second would take 17
//   s from 2 to 10 Mbit/s. A smaller one counts, and fades in within half a second, while frames
//   wait and 40 ms of queueing are seen: who sends little learns little.
//
// A frame goes when the one before should have left, at 1.1 of the rate, so that a greater one is
// found. The bound max(2 frames, 1.25 x rate x shortest round trip) for what is unacknowledged, or
// 16 kB, holds as well, but is not enough by itself: of two frames that take 100 ms each the second
// waits for the first, and whatever follows for both.
class RateController {
 public:
  using Time = RateTime;

  // Whether a frame may go now.
  [[nodiscard]] bool open(Time now) const;
  // How long until the gate opens by itself; nothing when it takes an acknowledgement.
  [[nodiscard]] std::optional<std::chrono::milliseconds> opensIn(Time now) const;

  // A frame has come, and whether it waits, perhaps in the place of another one.
  void offered(bool waits, Time now);
  [[nodiscard]] bool frameWaits() const { return holds; }
  // `bytes` went for a frame that has `wholeBytes` as a file of its own.
  void sent(std::size_t bytes, std::size_t wholeBytes, Time now);
  // So many frames more have been drawn. Those that were never sent do not count.
  void acknowledged(std::int64_t frames, Time now);

  void choose(const ChosenPicture& picture, bool mayBeVideo) { ladder.choose(picture, mayBeVideo); }
  // To be called every quarter of a second. Whether `wish` has changed.
  bool review(Time now);
  [[nodiscard]] const PictureWish& wish() const { return ladder.wish(); }

  [[nodiscard]] double bytesPerSecond() const { return rate; }

 private:
  struct Sent {
    double bytes = 0;
    Time at;
  };

  [[nodiscard]] double backlogAt(Time now) const;
  [[nodiscard]] bool hasRoom() const;
  void learnRoundTrip(const Sent& frame, Time now);
  void learnRate(Time now);

  double rate = 3e6 / 8;  // bytes a second
  double queueing = 0;    // seconds, of the frame acknowledged last
  std::deque<Sent> unacknowledged;
  double unacknowledgedBytes = 0;
  double backlog = 0;  // bytes that should not have left yet, at backlogSince
  Time backlogSince;

  struct RoundTrip {
    double seconds = 0;
    double bytes = 0;
    Time at;
  };
  std::deque<RoundTrip> roundTrips;  // of the last ten seconds
  double shortest = 0.1;             // of them, in seconds
  double shortestBare = 0.1;         // without what the frames themselves took
  bool empties = false;              // nothing goes until all is acknowledged

  Time idleSince;
  Time stretchSince;  // later by the time in which nothing could have been acknowledged
  double stretchBytes = 0;
  bool stretchHeld = false;  // whether a frame had to wait in it
  bool holds = false;        // whether one waits now
  Time reviewed;
  PictureLadder ladder;
};

}  // namespace quorvin::webui
