#pragma once

#include <stop_token>
#include <string>
#include <thread>

namespace quorvin {

// Paints random colours all over a screen, again and again, so that every frame of it is a new one
// that hardly compresses. From a thread of its own, while it lives.
class ScreenNoise {
 public:
  explicit ScreenNoise(const std::string& display);

 private:
  std::jthread painter;
};

}  // namespace quorvin
