#pragma once

#include <string>

namespace quorvin::webui {

// Opens the file in the desktop's browser, unless the environment says QUORVIN_WEBUI_OPEN=0 or the
// desktop has none. Waits until that is done; a failure is nobody's concern, as the address has
// been printed for the user to open. What is opened can be read in a command line by every user of
// the machine.
void openInBrowser(const std::string& file);

}  // namespace quorvin::webui
