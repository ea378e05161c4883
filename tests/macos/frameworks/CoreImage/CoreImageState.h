#pragma once

#include <atomic>

namespace standin {

struct CoreImageState {
  std::atomic<bool> failsToCreate = false;
  std::atomic<bool> failsToRender = false;
};
CoreImageState& coreImageState();

}  // namespace standin
