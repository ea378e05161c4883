#include "Runner/DesktopShortcut.h"

#include <filesystem>
#include <string>

#include "Runner/InstalledCopy.h"
#include "platform/Error.h"

namespace quorvin {

namespace {

constexpr auto linkName = "Quorvin Support.app";

Error differentItemError() {
  return {"com.quorvin.support.shortcut", 1,
          "A different item named Quorvin Support already exists on the Desktop."};
}

// Throws unless the item on the Desktop is a link whose own text leads to the bundle. Where that
// leads on to does not count.
void expectOwnLink(Files& files, const std::filesystem::path& link) {
  std::filesystem::path destination;
  try {
    destination = files.destinationOfSymbolicLink(link);
  } catch (const Error&) {
    throw differentItemError();
  }
  if (files.standardized(link.parent_path() / destination) != files.bundlePath()) {
    throw differentItemError();
  }
}

}  // namespace

FlutterReply createDesktopShortcut(Files& files) {
  if (!isInstalledCopy(files)) {
    return FlutterError{
        "install_first",
        "Move Quorvin Support to Applications, open it there, then create the shortcut.",
        {}};
  }
  const auto desktop = files.desktopDirectory();
  if (!desktop) {
    return FlutterError{"desktop_unavailable", "The Desktop folder is unavailable.", {}};
  }
  const auto link = *desktop / linkName;
  try {
    if (files.fileExists(link)) {
      expectOwnLink(files, link);
    } else {
      files.createSymbolicLink(link, files.bundlePath());
    }
  } catch (const Error& error) {
    return FlutterError{"shortcut_failed", error.localizedDescription, {}};
  }
  return Value();
}

}  // namespace quorvin
