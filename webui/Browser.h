#pragma once

#include <string>

namespace quorvin::webui {

// Opens the address in the desktop's browser, unless the environment says QUORVIN_WEBUI_OPEN=0 or
// the desktop has none. Returns at once; a failure is nobody's concern, as the address has been
// printed for the user to open.
void openInBrowser(const std::string& address);

}  // namespace quorvin::webui
