#pragma once

#include <string>

#include "platform/unix/FileDescriptor.h"

namespace quorvin::webui {

// Whether there is a Chromium to run hidden: "chromium" on the PATH, or the program that the
// environment names in QUORVIN_HIDDEN_BROWSER.
[[nodiscard]] bool hasHiddenBrowser();

// Shows a file to a browser without a window, with a profile of its own, until the other end of a
// socket is closed: at a computer that is left alone somebody has to work the page. A browser that
// ends is started again after a while. The calling process must have no other children.
void runHiddenBrowser(const std::string& file, const FileDescriptor& untilClosed);

}  // namespace quorvin::webui
