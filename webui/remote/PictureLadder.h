#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvin::webui {

using RateTime = std::chrono::steady_clock::time_point;

[[nodiscard]] inline double secondsBetween(RateTime from, RateTime to) {
  return std::chrono::duration<double>(to - from).count();
}

// What a supporter has chosen: the most that is asked for.
struct ChosenPicture {
  std::string profile = "balanced";
  std::int64_t width = 1920;
  std::int64_t fps = 30;
  std::int64_t quality = 72;
  std::int64_t mbps = 7;  // of H.264
  bool video = false;     // H.264 and not JPEG
};

// What to ask the host for.
struct PictureWish {
  std::int64_t width = 1920;
  std::int64_t fps = 30;
  std::int64_t quality = 72;
  std::optional<std::int64_t> videoMbps;  // H.264, or nothing for JPEG
  int steps = 0;                          // by which this is less than what was chosen

  friend bool operator==(const PictureWish&, const PictureWish&) = default;
};

// The way down from the chosen picture to one that fits a rate, and up again. The steps are JPEG
// quality 72, 60, 50, 40, width 1920, 1600, 1280, and 30, 20, 15, 10 frames a second, in this order
// or, with the profile "sharp", the frames first. At least two seconds lie between two changes.
//
// A change of quality or width costs a whole file, since no delta can build on another one: as much
// as minutes of typing. So all steps that are needed are taken at once, after what does not fit has
// lasted twice as long as the file will take, and for half a second at least. After a way up that
// was too much the next waits twice as long, from four seconds to a minute.
//
// Where most of each frame changes and does not fit, H.264 takes JPEG's place, at 0.8 of the rate
// or the next whole Mbit/s, as the host counts; that it can be more does no harm, as each of its
// frames can be left out. JPEG returns after three seconds with less than 0.8 of the frames asked
// for.
class PictureLadder {
 public:
  // `mayBeVideo`: whether all receivers could show H.264.
  void choose(const ChosenPicture& picture, bool mayBeVideo);

  // A frame has come, and whether it has to wait.
  void offered(bool waits, RateTime now);
  // `bytes` went for a frame that has `wholeBytes` as a file of its own.
  void sent(double bytes, double wholeBytes, RateTime now);

  // Bytes a second that went lately.
  [[nodiscard]] double used() const { return recent.bytes; }
  // `rate` in bytes a second. Whether the wish has changed.
  bool review(double rate, RateTime now);
  [[nodiscard]] const PictureWish& wish() const { return wished; }

 private:
  // Sums in which everything fades within a second.
  struct Recent {
    double offered = 0;
    double held = 0;
    double sent = 0;
    double bytes = 0;
    double wholeBytes = 0;
  };
  struct Step {
    std::int64_t PictureWish::*setting;
    std::int64_t value = 0;
    double ratio = 1;  // of the bytes, to those before
  };

  void fade(RateTime now);
  [[nodiscard]] double demand() const;
  [[nodiscard]] double wholeFrame() const;
  void reviewPictures(double rate, RateTime now);
  void stepDown(double rate, RateTime now);
  void stepUp(double rate, RateTime now);
  void reviewVideo(double rate, RateTime now);
  void changed(bool up, RateTime now);
  void makeWish();

  ChosenPicture chosen;
  bool videoPossible = false;
  std::vector<Step> steps;
  std::size_t taken = 0;  // of the steps
  std::optional<std::int64_t> videoMbps;
  PictureWish wished;

  Recent recent;
  RateTime faded;
  RateTime tightSince;
  int sentTight = 0;   // frames since then: a single large one says little
  RateTime busySince;  // while in H.264: when it was last not calm
  RateTime lastChange;
  std::optional<RateTime> lastUp;  // if that was the last change
  double patience = 4;             // seconds, before a way up
};

}  // namespace quorvin::webui
