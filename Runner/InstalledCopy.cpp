#include "Runner/InstalledCopy.h"

#include <string>

namespace quorvin {

bool isInstalledCopy(Files& files) {
  const auto bundle = files.bundlePath();
  if (bundle.extension() != ".app") return false;
  const auto usersOwn = (files.homeDirectory() / "Applications").string() + "/";
  return bundle.string().starts_with("/Applications/") || bundle.string().starts_with(usersOwn);
}

}  // namespace quorvin
