#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace quorvin::contract {

// Something to hold: the action runs when nobody holds it any more, on the thread of the last who
// did.
inline std::shared_ptr<void> onRelease(std::function<void()> action) {
  return {nullptr, [action = std::move(action)](void*) {
            action();
          }};
}

}  // namespace quorvin::contract
