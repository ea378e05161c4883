#pragma once

#include <string>
#include <vector>

#import "tests/macos/contract/mac/MacFrames.h"
#include "tests/macos/contract/mac/RunLoop.h"

namespace quorvin::facts {

using contract::runLoopUntil;
using std::chrono_literals::operator""s;

struct Outcome {
  std::string seen;  // without names, paths or anything of the screen's
  const char* agrees = "-";
};

// Something about macOS that nobody promises. Each is tried in a process of its own, on the main
// thread, and whoever started that process ends it after the limit: a hang or an exception is an
// answer too.
struct Fact {
  const char* name;
  int limitS;
  const char* question;
  const char* countedOn;
  Outcome (*attempt)();
};

std::vector<Fact> streamFacts();
std::vector<Fact> encoderFacts();
std::vector<Fact> systemFacts();

inline const char* agreesIf(bool condition) {
  return condition ? "yes" : "NO";
}
inline const char* word(bool condition) {
  return condition ? "yes" : "no";
}
inline void pause(std::chrono::nanoseconds time) {
  (void)runLoopUntil([] { return false; }, time);
}
// Of what is encoded; a test takes less.
inline contract::FrameSize pictureSize{1920, 1200};

inline long nowMs() {
  return static_cast<long>(MacDispatch().uptimeNanoseconds() / 1'000'000);
}

}  // namespace quorvin::facts
