#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "platform/Data.h"
#include "platform/Interface.h"

namespace quorvin {

// The application's bundle, the user's folders and the file system, one operation of the system a
// member. Paths are absolute and in UTF-8; where a link may stand at a path, the member says
// whether it is followed. A failure is thrown as the system's own Error, except where a member says
// otherwise. Main thread.
class Files : public Interface {
 public:
  // Where the running bundle lies, standardised; the executable's folder when it is in no bundle.
  // What this, `homeDirectory` and `standardized` give can be compared byte by byte.
  [[nodiscard]] virtual std::filesystem::path bundlePath() = 0;
  // The running executable as the system names it; nothing when it cannot be found.
  [[nodiscard]] virtual std::optional<std::filesystem::path> executablePath() = 0;
  // The account's home folder, and the one the process is told to take for it.
  [[nodiscard]] virtual std::filesystem::path homeDirectoryForCurrentUser() = 0;
  [[nodiscard]] virtual std::filesystem::path homeDirectory() = 0;
  // The user's own Desktop folder, which need not exist; nothing when the system names none.
  [[nodiscard]] virtual std::optional<std::filesystem::path> desktopDirectory() = 0;

  // "." and ".." removed and no slash at the end. Links stay, as far as the system can do without
  // looking at them.
  [[nodiscard]] virtual std::filesystem::path standardized(const std::filesystem::path& path) = 0;

  // With every folder on the way that is missing. A folder that is there already is no failure.
  virtual void createDirectory(const std::filesystem::path& path) = 0;
  // The whole content, links followed; nothing when it cannot be read, for whatever reason.
  [[nodiscard]] virtual std::optional<Data> contents(const std::filesystem::path& path) = 0;
  // Puts the bytes there in one step: a reader sees the old file or the new one, whole, and a
  // failure leaves the old one. A new file gets the process' usual permissions or fewer, an
  // existing one keeps its own. A link at the path is replaced, not followed.
  virtual void writeAtomically(std::span<const std::uint8_t> bytes,
                               const std::filesystem::path& path) = 0;
  // A folder with all that is in it; of a link the link itself.
  virtual void removeItem(const std::filesystem::path& path) = 0;
  // Links followed: false for one that leads nowhere.
  [[nodiscard]] virtual bool fileExists(const std::filesystem::path& path) = 0;

  // Fails when anything, even a link that leads nowhere, has the link's name. The destination need
  // not exist. It is absolute, as every path is; systems differ in what they make of another one.
  virtual void createSymbolicLink(const std::filesystem::path& link,
                                  const std::filesystem::path& destination) = 0;
  // What the link says, unchanged: it may be relative to the link's folder.
  [[nodiscard]] virtual std::filesystem::path destinationOfSymbolicLink(
      const std::filesystem::path& link) = 0;
};

}  // namespace quorvin
