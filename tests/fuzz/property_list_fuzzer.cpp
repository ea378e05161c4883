// The property list of a login agent: whatever the file holds, it is read or refused.

#include <cstddef>
#include <cstdint>
#include <string>

#include "launchctl/AgentFile.h"
#include "launchctl/LaunchctlError.h"

using namespace quorvin::launchctl;  // NOLINT: a program of one file

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  try {
    const PropertyList list({reinterpret_cast<const char*>(data), size});
    static_cast<void>(list.text("Label"));
    static_cast<void>(list.boolean("KeepAlive"));
    static_cast<void>(list.texts("ProgramArguments"));
  } catch (const LaunchctlError&) {
    return 0;  // refused
  }
  return 0;
}
