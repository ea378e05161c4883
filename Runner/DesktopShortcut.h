#pragma once

#include "platform/Files.h"
#include "platform/Flutter.h"

namespace quorvin {

// Puts a link to the installed application on the user's Desktop, and returns the reply to whoever
// asked for it. The right link that is there already counts as success; whatever else has its name
// is left alone and reported. Main thread.
[[nodiscard]] FlutterReply createDesktopShortcut(Files& files);

}  // namespace quorvin
