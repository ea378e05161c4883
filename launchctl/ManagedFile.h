#pragma once

#include <filesystem>
#include <string>

namespace quorvin::launchctl {

// A text file that this program keeps in a folder of the user's. Its first line is a comment that
// says so; a file of that name without it belongs to somebody else and is never touched.
class ManagedFile {
 public:
  explicit ManagedFile(std::filesystem::path path) : place(std::move(path)) {}

  [[nodiscard]] const std::filesystem::path& path() const { return place; }
  // Whether it is there and ours.
  [[nodiscard]] bool exists() const;
  // Whether there is something else in its place.
  [[nodiscard]] bool isUnmanaged() const;
  // What follows the first line; empty when the file is not there or not ours.
  [[nodiscard]] std::string content() const;
  // Makes it hold this text, and its folder if need be. At every moment, even if the process or the
  // machine ends there, the file has its old text or its new one. Throws LaunchctlError.
  void replace(const std::string& text) const;
  // Deletes it if it is ours. Throws LaunchctlError when that is not possible.
  void remove() const;

 private:
  // What a replace that was killed has left.
  void removeTemporaryFiles() const;

  std::filesystem::path place;
};

}  // namespace quorvin::launchctl
