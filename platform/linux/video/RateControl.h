#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quorvin {

// Decides how finely each picture is encoded, so that a stream of pictures that are all encoded by
// themselves keeps to an average bit rate. The budget grows with the time stamps, whatever the
// number of pictures, and saves up what a quiet time leaves over, but no more than `savedAtMost`
// is worth. As nothing is ever spent that is not there, any span of time gets at most its own share
// and those savings.
//
// While pictures follow each other, `reserve` is kept back, so that there is something to sharpen
// the last of them with: a picture that came out coarse should be put in once more when the screen
// has come to rest (`repeatAfter`). One thread at a time; holds no clock and knows no encoder.
class RateControl {
 public:
  // Quantisers as those of H.264, from 0 to 51. At `sharp`, steps of 8 are rounded together in the
  // worst case, an error of 40.9 dB; what is finer than `finest` nobody sees.
  static constexpr int finest = 20;
  static constexpr int sharp = 22;
  static constexpr int coarsest = 51;

  static constexpr std::chrono::milliseconds savedAtMost{900};
  static constexpr std::chrono::milliseconds reserve{250};
  // How long after a coarse picture the same one should come again: long enough to save up what a
  // sharp one takes, and for it not to be one of a sequence, but so that a screen at rest is sharp
  // within a second.
  static constexpr std::chrono::milliseconds restTime{600};

  enum class Action { keep, encodeAgain, drop };
  struct Verdict {
    Action action = Action::keep;
    int quantiser = 0;  // to encode again with
  };

  // In bits a second, more than 0. Until it is called every picture is encoded sharply.
  void setBitRate(std::int64_t bitsPerSecond);

  // Begins the picture of that time stamp, which may be nothing but a repetition of the one before
  // for a screen at rest. Tells with which quantiser to try; nothing if the picture must be left
  // out because even coarsely it would not fit.
  [[nodiscard]] std::optional<int> begin(std::chrono::nanoseconds timeStamp, bool isRepeat);
  // Tells what is to become of a try that brought so many bytes.
  [[nodiscard]] Verdict judge(std::size_t bytes);

  // How long after the picture just kept, dropped or left out the same should be put in again;
  // empty if it came out sharp, or was a repetition already and came out at all.
  [[nodiscard]] std::optional<std::chrono::nanoseconds> repeatAfter() const;

 private:
  struct Picture {
    bool isRepeat = false;
    bool isFirstAfterPause = false;
    double spendable = 0;  // bits
    int quantiser = 0;     // of the try under way or, if kept, of the result
    int tries = 0;
    std::optional<int> fitting;  // the finest that has been tried and fits
    bool isKept = false;
  };

  [[nodiscard]] double bitsIn(std::chrono::nanoseconds duration) const;
  [[nodiscard]] double estimateOf(int quantiser) const;
  [[nodiscard]] int finestWithin(double bits) const;
  [[nodiscard]] bool isFull() const;
  [[nodiscard]] bool fits(double bits) const;
  [[nodiscard]] Verdict judgeTooLarge(double bits);
  [[nodiscard]] Verdict tryAgain(int quantiser);
  Verdict keep(double bits);

  double rate = 0;   // bits a second; 0: none set
  double level = 0;  // bits that may be spent now
  std::optional<std::chrono::nanoseconds> lastTimeStamp;
  // The bits that the latest picture would take at quantiser 0, as far as `estimateOf` can tell.
  double complexity = 0;
  Picture picture;
};

}  // namespace quorvin
