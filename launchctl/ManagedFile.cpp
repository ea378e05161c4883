#include "launchctl/ManagedFile.h"

#include <glib.h>

#include <cerrno>
#include <fstream>
#include <string_view>
#include <system_error>

#include "launchctl/LaunchctlError.h"
#include "platform/unix/GlibPtr.h"

namespace quorvin::launchctl {
namespace {

constexpr std::string_view firstLine =
    "# Written by quorvin-launchctl; \"quorvin-launchctl bootout\" removes it.\n";
constexpr int folderMode = 0700;  // XDG Base Directory Specification
constexpr int fileMode = 0644;

[[noreturn]] void fail(const std::string& what, const std::filesystem::path& path,
                       const std::string& reason) {
  throw LaunchctlError("cannot " + what + " " + path.string() + ": " + reason);
}

// g_file_set_contents_full adds a dot and six letters to the name for as long as it writes.
bool isTemporaryNameOf(std::string_view name, std::string_view file) {
  constexpr std::size_t added = 7;
  return name.size() == file.size() + added && name.starts_with(file) && name[file.size()] == '.';
}

bool startsWithFirstLine(const std::filesystem::path& path) {
  std::string start(firstLine.size(), '\0');
  std::ifstream file(path, std::ios::binary);
  return file.read(start.data(), static_cast<std::streamsize>(start.size())) && start == firstLine;
}

}  // namespace

bool ManagedFile::exists() const {
  std::error_code ignored;
  // A symbolic link, which is how systemd masks a unit, is never ours.
  return std::filesystem::is_regular_file(std::filesystem::symlink_status(place, ignored)) &&
         startsWithFirstLine(place);
}

bool ManagedFile::isUnmanaged() const {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(place, ignored)) && !exists();
}

std::string ManagedFile::content() const {
  if (!exists()) return {};
  std::ifstream file(place, std::ios::binary);
  file.seekg(static_cast<std::streamoff>(firstLine.size()));
  return {std::istreambuf_iterator<char>(file), {}};
}

void ManagedFile::replace(const std::string& text) const {
  const auto folder = place.parent_path();
  if (g_mkdir_with_parents(folder.c_str(), folderMode) != 0) {
    fail("make the folder", folder, std::generic_category().message(errno));
  }
  removeTemporaryFiles();
  const auto whole = std::string(firstLine) + text;
  constexpr auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                            G_FILE_SET_CONTENTS_DURABLE);
  GError* problem = nullptr;
  g_file_set_contents_full(place.c_str(), whole.data(), static_cast<gssize>(whole.size()), flags,
                           fileMode, &problem);
  const GlibPtr<GError> error(problem);
  if (error) fail("write", place, error->message);
}

void ManagedFile::remove() const {
  removeTemporaryFiles();
  if (!exists()) return;
  std::error_code error;
  std::filesystem::remove(place, error);
  if (error) fail("delete", place, error.message());
}

void ManagedFile::removeTemporaryFiles() const {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(place.parent_path(), ignored)) {
    if (isTemporaryNameOf(entry.path().filename().string(), place.filename().string())) {
      std::filesystem::remove(entry.path(), ignored);
    }
  }
}

}  // namespace quorvin::launchctl
