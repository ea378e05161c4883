#pragma once

#include <filesystem>
#include <optional>
#include <span>

#include "platform/Files.h"

namespace quorvin {

// NSBundle.mainBundle and NSFileManager.defaultManager. Errors are Foundation's, passed on
// unchanged.
class MacFiles final : public Files {
 public:
  [[nodiscard]] std::filesystem::path bundlePath() override;
  [[nodiscard]] std::optional<std::filesystem::path> executablePath() override;
  [[nodiscard]] std::filesystem::path homeDirectoryForCurrentUser() override;
  [[nodiscard]] std::filesystem::path homeDirectory() override;
  [[nodiscard]] std::optional<std::filesystem::path> desktopDirectory() override;
  // As Foundation standardises a file URL: links are resolved only where ".." has to be taken away,
  // and "/private" goes where the path without it is the same file.
  [[nodiscard]] std::filesystem::path standardized(const std::filesystem::path& path) override;
  void createDirectory(const std::filesystem::path& path) override;
  [[nodiscard]] std::optional<Data> contents(const std::filesystem::path& path) override;
  void writeAtomically(std::span<const std::uint8_t> bytes,
                       const std::filesystem::path& path) override;
  void removeItem(const std::filesystem::path& path) override;
  [[nodiscard]] bool fileExists(const std::filesystem::path& path) override;
  void createSymbolicLink(const std::filesystem::path& link,
                          const std::filesystem::path& destination) override;
  [[nodiscard]] std::filesystem::path destinationOfSymbolicLink(
      const std::filesystem::path& link) override;
};

}  // namespace quorvin
