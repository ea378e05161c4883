#pragma once

#include <filesystem>
#include <optional>
#include <span>

#include "platform/Files.h"
#include "platform/linux/system/AccountLock.h"

namespace quorvin {

// POSIX files. Errors have the domain "com.quorvin.support.posix", errno as their code and a
// sentence that names the path and what was refused.
class LinuxFiles final : public Files {
 public:
  // Nothing stands for an executable that cannot be found. The lock, if there is one, is taken
  // before a folder or a file is made, replaced or removed.
  explicit LinuxFiles(std::optional<std::filesystem::path> executable, AccountLock* lock = nullptr);

  // The running executable: as it was started (getauxval(3)) where that is an absolute path which
  // still leads to it, so that a bundle may be a link in an Applications folder, or else as the
  // kernel knows it (proc(5)), its links resolved. To be asked at the start: a file that is
  // replaced later goes by another name.
  [[nodiscard]] static std::optional<std::filesystem::path> executableOfProcess();

  // The folder whose "Contents/Linux" the executable is in, or else the executable's own folder. In
  // an Applications folder it goes by the name that this folder has for the user: the kernel names
  // the executable with all links resolved, and a home or its Applications folder may be one.
  [[nodiscard]] std::filesystem::path bundlePath() override;
  [[nodiscard]] std::optional<std::filesystem::path> executablePath() override;
  // Both are HOME, or what the user database says when HOME holds no absolute path; standardised,
  // with links resolved only where ".." makes that necessary.
  [[nodiscard]] std::filesystem::path homeDirectoryForCurrentUser() override;
  [[nodiscard]] std::filesystem::path homeDirectory() override;
  // XDG_DESKTOP_DIR of the user's folder list, or else "Desktop" in the home folder
  // (https://www.freedesktop.org/wiki/Software/xdg-user-dirs/).
  [[nodiscard]] std::optional<std::filesystem::path> desktopDirectory() override;
  [[nodiscard]] std::filesystem::path standardized(const std::filesystem::path& path) override;
  // Folders that only their owner may write to, as far as the process' mask does not say less.
  void createDirectory(const std::filesystem::path& path) override;
  // Regular files of up to 16 MiB only: a pipe or a device would not end.
  [[nodiscard]] std::optional<Data> contents(const std::filesystem::path& path) override;
  // The bytes are on the disk, and not only on the way there, when this returns. Only its owner may
  // write to a new file, whatever the process' mask says.
  void writeAtomically(std::span<const std::uint8_t> bytes,
                       const std::filesystem::path& path) override;
  void removeItem(const std::filesystem::path& path) override;
  [[nodiscard]] bool fileExists(const std::filesystem::path& path) override;
  void createSymbolicLink(const std::filesystem::path& link,
                          const std::filesystem::path& destination) override;
  [[nodiscard]] std::filesystem::path destinationOfSymbolicLink(
      const std::filesystem::path& link) override;

 private:
  void takeLock() const;

  std::optional<std::filesystem::path> executable;
  AccountLock* lock;
};

}  // namespace quorvin
