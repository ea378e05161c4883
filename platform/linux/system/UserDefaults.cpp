#include "platform/linux/system/UserDefaults.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "platform/linux/system/PosixError.h"
#include "platform/linux/system/WholeFile.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/GlibPtr.h"

namespace quorvin {
namespace {

constexpr std::size_t fileBytesMax = 1 << 20;
constexpr mode_t ownerOnly = 0600;
constexpr auto group = "defaults";

using KeyFile = GlibPtr<GKeyFile>;

// An empty one removes its key.
using Changes = std::map<std::string, std::optional<std::string>>;

// Null when it is not in the format.
KeyFile parse(const std::string& content) {
  KeyFile file(g_key_file_new());
  if (g_key_file_load_from_data(file.get(), content.data(), content.size(),
                                G_KEY_FILE_KEEP_COMMENTS, nullptr) == FALSE) {
    return nullptr;
  }
  return file;
}

// Out of the way, but not lost: somebody may want to see what was in it.
void putAside(const std::string& path) {
  const auto aside = path + ".damaged-" + std::to_string(g_get_real_time());
  if (std::rename(path.c_str(), aside.c_str()) != 0) throw posixError(path, "put aside", errno);
  std::fprintf(stderr,
               "quorvin-support: the settings in %s could not be understood; they start afresh, "
               "and the old file is now %s.\n",
               path.c_str(), aside.c_str());
}

// What the file holds now; empty when there is none.
KeyFile load(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) {
    if (errno == ENOENT) return parse({});
    throw posixError(path, "read", errno);
  }
  if (const auto content = readRegularFile(path, fileBytesMax)) {
    if (auto parsed = parse(*content)) return parsed;
  }
  putAside(path);
  return parse({});
}

void change(GKeyFile* file, const std::string& key, const std::optional<std::string>& value) {
  if (value) {
    g_key_file_set_string(file, group, key.c_str(), value->c_str());
  } else {
    g_key_file_remove_key(file, group, key.c_str(), nullptr);
  }
}

void write(const std::string& path, GKeyFile* file) {
  gsize length = 0;
  const GlibPtr<char> text(g_key_file_to_data(file, &length, nullptr));
  if (length > fileBytesMax) throw posixError(path, "written", EFBIG);
  try {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): a text is bytes on the disk
    replaceFile(path, std::span(reinterpret_cast<const std::uint8_t*>(text.get()), length),
                ownerOnly);
  } catch (const std::system_error& error) {
    throw posixError(path, "written", error.code());
  }
}

// Null unless it holds an absolute path, as the base directory rules ask for.
const char* absolutePathIn(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && g_path_is_absolute(value) != FALSE ? value : nullptr;
}

// Nothing when the file or the key is missing or cannot be understood.
std::optional<std::string> readString(const std::string& path, const std::string& key) {
  const auto content = readRegularFile(path, fileBytesMax);
  // GLib would take a key only up to an embedded NUL.
  if (!content || key.find('\0') != std::string::npos) return {};
  const auto file = parse(*content);
  if (file == nullptr) return {};
  GError* error = nullptr;
  const GlibPtr<char> text(g_key_file_get_string(file.get(), group, key.c_str(), &error));
  const GlibPtr<GError> reason(error);
  // A value with a broken escape comes together with an error.
  return reason ? std::nullopt : std::optional<std::string>(text.get());
}

// Whether the file says all of this already.
bool holds(const std::string& path, const Changes& changes) {
  return std::ranges::all_of(changes, [&path](const auto& change) {
    return readString(path, change.first) == change.second;
  });
}

// Makes the changes in the file as it is now, and brings it to the disk, readable for its owner
// only. Its folder is there, and nobody else stores meanwhile. Throws an Error when it cannot be
// stored; the file is then as it was.
void store(const std::string& path, const Changes& changes) {
  const auto file = load(path);
  for (const auto& [key, value] : changes) change(file.get(), key, value);
  write(path, file.get());
}

}  // namespace

LinuxUserDefaults::LinuxUserDefaults(std::string path)
    : path(std::move(path)), accountLock(this->path + ".lock") {}

std::string LinuxUserDefaults::pathFromEnvironment() {
  constexpr auto file = "/com.quorvin.support/defaults.ini";
  if (const char* directory = absolutePathIn("XDG_CONFIG_HOME"))
    return directory + std::string(file);
  const char* home = absolutePathIn("HOME");
  return (home != nullptr ? home : g_get_home_dir()) + std::string("/.config") + file;
}

bool LinuxUserDefaults::boolForKey(const std::string& key) {
  const auto text = stringForKey(key);
  if (!text) return false;
  for (const char* truth : {"YES", "true", "1"}) {
    if (g_ascii_strcasecmp(text->c_str(), truth) == 0) return true;
  }
  return false;
}

std::optional<std::string> LinuxUserDefaults::stringForKey(const std::string& key) {
  if (const auto change = changes.find(key); change != changes.end()) return change->second;
  return readString(path, key);
}

void LinuxUserDefaults::setBool(bool value, const std::string& key) {
  changes[key] = value ? "true" : "false";
}

void LinuxUserDefaults::setString(const std::string& value, const std::string& key) {
  const GlibPtr<char> valid(g_utf8_make_valid(value.data(), static_cast<gssize>(value.size())));
  changes[key] = valid.get();
}

void LinuxUserDefaults::removeObject(const std::string& key) {
  changes[key] = std::nullopt;
}

void LinuxUserDefaults::synchronize() {
  if (!holds(path, changes)) {
    accountLock.take();
    store(path, changes);
  }
  changes.clear();
}

}  // namespace quorvin
