#pragma once

#include <cstdint>
#include <random>

#include "platform/Value.h"

namespace quorvin {

// Makes values of every type, the same ones for the same seed on every system: only the engine,
// whose numbers the language defines, is asked.
class RandomValue {
 public:
  explicit RandomValue(std::uint64_t seed) : engine(seed) {}

  [[nodiscard]] Value next() { return make(4); }

 private:
  [[nodiscard]] Value make(int depthLeft);
  [[nodiscard]] Value makeInteger();
  [[nodiscard]] double makeDouble();
  [[nodiscard]] std::string makeText();
  [[nodiscard]] List makeList(int depthLeft);
  [[nodiscard]] Map makeMap(int depthLeft);
  template <typename T>
  [[nodiscard]] std::vector<T> makeNumbers();
  [[nodiscard]] std::size_t makeSize();
  [[nodiscard]] std::uint64_t below(std::uint64_t limit) { return engine() % limit; }

  std::mt19937_64 engine;
};

}  // namespace quorvin
