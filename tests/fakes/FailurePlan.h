#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Error.h"

namespace quorvin::fakes {

// Counts the operations of a machine that can fail, and makes the chosen ones fail before they
// change anything.
class FailurePlan {
 public:
  std::set<std::size_t> failing;        // by number, from 0, in the order they are asked for
  std::vector<std::string> operations;  // all that were asked for
  std::vector<std::string> failed;      // those of them that failed

  void step(std::string operation) {
    const auto number = operations.size();
    operations.push_back(operation);
    if (!failing.contains(number)) return;
    failed.push_back(operation);
    throw Error("planned", static_cast<std::int64_t>(number), operation + " failed as planned.");
  }
};

}  // namespace quorvin::fakes
