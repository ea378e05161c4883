#import <ScreenCaptureKit/CaptureAnswers.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

namespace standin {
namespace {

void run(CaptureAnswers::Answer answer) {
  onSystemThread([answer = std::move(answer)] {
    @autoreleasepool {
      answer();
    }
  });
}

}  // namespace

void CaptureAnswers::give(Answer answer) {
  {
    const std::lock_guard lock(mutex);
    if (isHolding) {
      waiting.push_back(std::move(answer));
      return;
    }
  }
  run(std::move(answer));
}

void CaptureAnswers::hold() {
  const std::lock_guard lock(mutex);
  isHolding = true;
}

std::size_t CaptureAnswers::held() const {
  const std::lock_guard lock(mutex);
  return waiting.size();
}

void CaptureAnswers::releaseOldest() {
  Answer oldest;
  {
    const std::lock_guard lock(mutex);
    if (waiting.empty()) return violation("no answer of ScreenCaptureKit is held");
    oldest = std::move(waiting.front());
    waiting.pop_front();
  }
  run(std::move(oldest));
}

void CaptureAnswers::releaseNewest() {
  {
    const std::lock_guard lock(mutex);
    std::ranges::rotate(waiting, std::ranges::prev(waiting.end(), waiting.empty() ? 0 : 1));
  }
  releaseOldest();
}

void CaptureAnswers::releaseAll() {
  std::deque<Answer> released;
  {
    const std::lock_guard lock(mutex);
    isHolding = false;
    released.swap(waiting);
  }
  for (auto& answer : released) run(std::move(answer));
}

void CaptureAnswers::drop() {
  std::deque<Answer> dropped;  // outside the lock, since this may release a stream
  const std::lock_guard lock(mutex);
  isHolding = false;
  dropped.swap(waiting);
}

}  // namespace standin
