#pragma once

#include <optional>
#include <string>

namespace standin {

// Any thread.

// The computer has the name "Front desk" again.
void resetSystemConfiguration();
// UTF-8; nothing for a computer without a name.
void setComputerName(std::optional<std::string> name);

}  // namespace standin
