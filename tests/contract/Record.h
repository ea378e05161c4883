#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace quorvin::contract {

// What happened, in order. Copies share one list, so callbacks hold one by value and may outlive
// the test. Any thread.
template <typename T>
class Record {
 public:
  void add(T entry) const {
    const std::scoped_lock lock(state->mutex);
    state->entries.push_back(std::move(entry));
  }
  [[nodiscard]] std::vector<T> all() const {
    const std::scoped_lock lock(state->mutex);
    return state->entries;
  }
  [[nodiscard]] std::size_t size() const {
    const std::scoped_lock lock(state->mutex);
    return state->entries.size();
  }

 private:
  struct State {
    std::mutex mutex;
    std::vector<T> entries;
  };
  std::shared_ptr<State> state = std::make_shared<State>();
};

}  // namespace quorvin::contract
