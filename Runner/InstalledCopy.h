#pragma once

#include "platform/Files.h"

namespace quorvin {

// Whether the running bundle is one that stays: in the computer's or the user's own Applications
// folder, and not on a disk image or among downloads. Main thread.
[[nodiscard]] bool isInstalledCopy(Files& files);

}  // namespace quorvin
