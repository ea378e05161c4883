#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace standin {

// Objective-C and Core Foundation objects alive now, immortal ones not counted. Any thread.
[[nodiscard]] std::size_t liveObjects();
// Their class names with counts ("NSString x 3"), for the message of a failing test.
[[nodiscard]] std::vector<std::string> liveObjectSummary();
// Takes an object that lives as long as the process (a shared instance) out of the count.
void makeImmortal(const void* object);

}  // namespace standin
