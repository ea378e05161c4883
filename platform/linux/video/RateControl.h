#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quorvin {

// Chooses the QP of each frame, so that a stream of key frames keeps to an average bit rate. The
// budget grows with the time stamps, whatever the number of frames, and saves up what a quiet time
// leaves over, up to `savedAtMost`. Nothing is spent that is not there, so that any span of time
// gets at most its own share and those savings.
//
// While frames follow each other, `reserve` is kept back to sharpen the last of them: a coarse
// frame should be encoded again when the screen has come to rest (`refreshAfter`). One thread at a
// time; holds no clock and knows no encoder.
class RateControl {
 public:
  // Qps as those of H.264, from 0 to 51. At `qpTarget`, steps of 8 are rounded together in the
  // worst case, an error of 40.9 dB; what is finer than `qpMin` nobody sees.
  static constexpr int qpMin = 20;
  static constexpr int qpTarget = 22;
  static constexpr int qpMax = 51;

  static constexpr std::chrono::milliseconds savedAtMost{900};
  static constexpr std::chrono::milliseconds reserve{250};
  // How long after a coarse frame its refresh should come: long enough to save up what a sharp
  // frame takes and to be sure that no sequence goes on, but so that a screen at rest is sharp
  // within a second.
  static constexpr std::chrono::milliseconds restTime{600};

  enum class Action { keep, encodeAgain, drop };
  struct Verdict {
    Action action = Action::keep;
    int qp = 0;  // to encode again with
  };

  // In bits a second, more than 0. Until it is called every frame is encoded sharply.
  void setBitRate(std::int64_t bitsPerSecond);

  // Begins the frame of that time stamp, which may be a refresh of the one before for a screen at
  // rest. Returns the QP to try; nothing if the frame must be left out because it would not fit
  // even at `qpMax`.
  [[nodiscard]] std::optional<int> begin(std::chrono::nanoseconds timeStamp, bool isRefresh);
  // Tells what is to become of a try that brought so many bytes.
  [[nodiscard]] Verdict judge(std::size_t bytes);

  // How long after the frame just kept, dropped or left out its refresh should come; empty if it
  // came out sharp, or was a refresh itself and came out at all.
  [[nodiscard]] std::optional<std::chrono::nanoseconds> refreshAfter() const;

 private:
  struct Frame {
    bool isRefresh = false;
    bool isFirstAfterPause = false;
    double spendable = 0;  // bits
    int qp = 0;            // of the try under way or, if kept, of the result
    int tries = 0;
    std::optional<int> fitting;  // the finest that has been tried and fits
    bool isKept = false;
  };

  [[nodiscard]] double bitsIn(std::chrono::nanoseconds duration) const;
  [[nodiscard]] double estimateOf(int qp) const;
  [[nodiscard]] int lowestQpWithin(double bits) const;
  [[nodiscard]] bool isFull() const;
  [[nodiscard]] bool fits(double bits) const;
  [[nodiscard]] Verdict judgeTooLarge(double bits);
  [[nodiscard]] Verdict tryAgain(int qp);
  Verdict keep(double bits);

  double rate = 0;   // bits a second; 0: none set
  double level = 0;  // bits that may be spent now
  std::optional<std::chrono::nanoseconds> lastTimeStamp;
  // The bits that the latest frame would take at QP 0, as far as `estimateOf` can tell.
  double complexity = 0;
  Frame frame;
};

}  // namespace quorvin
