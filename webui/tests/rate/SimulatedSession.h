#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "webui/FrameFlowControl.h"
#include "webui/remote/RateController.h"
#include "webui/tests/rate/SimulatedLink.h"

namespace quorvin::webui {

// What changes on the screen, at the sizes measured for a screen of 1920 x 1080
// (docs/performance.md): a character typed ten times a second, 0.3 kB; a window moved 30 times a
// second, 30.6 kB, of a file of 300; a film that fills the screen 30 times a second, 140 kB each.
enum class Content : std::uint8_t { still, typing, window, film };

// A host that makes frames, the gate that lets them go, a link, and a page that draws and
// acknowledges them.
class SimulatedSession {
 public:
  SimulatedSession(SimulatedLink::Way way, std::uint64_t seed);

  void show(Content what) { content = what; }
  void choose(const ChosenPicture& picture, bool mayBeVideo) {
    chosen = picture;
    controller.choose(picture, mayBeVideo);
    wish = controller.wish();
  }
  void run(int milliseconds);
  // From now on.
  void forgetMeasured();

  SimulatedLink link;
  RateController controller;

  std::vector<double> queueing;  // of each millisecond, in ms
  std::vector<double> delays;    // of each frame, from its making until it was drawn, in ms
  std::vector<double> held;      // of each frame that was sent, by the gate, in ms
  std::vector<std::uint64_t> drawn;
  int changes = 0;  // of settings
  int now = 0;      // ms

 private:
  [[nodiscard]] RateTime time() const { return RateTime(std::chrono::milliseconds(now)); }
  void capture();
  void draw();
  void send(const Frame& frame);
  void review();
  [[nodiscard]] std::size_t sizeOf(std::uint64_t number);
  [[nodiscard]] double wholeSize() const;
  [[nodiscard]] double noise(double share);

  std::mt19937_64 random;
  Content content = Content::still;
  ChosenPicture chosen;
  FrameFlowControl flow;

  PictureWish wish;  // in force at the host
  std::deque<std::pair<int, PictureWish>> asked;
  double nextCapture = 0;
  std::uint64_t captured = 0;
  std::uint64_t lastSent = 0;
  PictureWish lastSentAs;
  std::map<std::uint64_t, int> capturedAt;
  std::map<std::uint64_t, std::size_t> sentBytes;
  int drawsUntil = 0;
  std::multimap<int, std::uint64_t> drawing;           // by when it is drawn
  std::multimap<int, std::uint64_t> acknowledgements;  // by when they arrive
};

// The value that this share of them does not exceed.
[[nodiscard]] double percentile(std::vector<double> values, double share);

}  // namespace quorvin::webui
