#include "platform/linux/x11/DisplayAuthority.h"

#include <cstdlib>
#include <string>

namespace quorvin {

void nameDisplayAuthority() {
  // The same place where libXau looks.
  constexpr int keepOther = 0;
  const char* home = std::getenv("HOME");
  if (home != nullptr)
    setenv("XAUTHORITY", (std::string(home) + "/.Xauthority").c_str(), keepOther);
}

}  // namespace quorvin
