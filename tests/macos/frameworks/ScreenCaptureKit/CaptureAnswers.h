#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace standin {

// The answers that ScreenCaptureKit owes to completion handlers. Each runs on a system thread.
class CaptureAnswers {
 public:
  using Answer = std::function<void()>;

  void give(Answer answer);
  void hold();
  [[nodiscard]] std::size_t held() const;
  void releaseOldest();
  void releaseNewest();
  void releaseAll();
  void drop();

 private:
  mutable std::mutex mutex;
  bool isHolding = false;
  std::deque<Answer> waiting;
};

}  // namespace standin
