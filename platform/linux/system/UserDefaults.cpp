#include "platform/linux/system/UserDefaults.h"

#include <glib.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/linux/system/TextFile.h"

namespace quorvin {
namespace {

constexpr std::size_t fileBytesMax = 1 << 20;

struct FreeKeyFile {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

struct Free {
  void operator()(char* text) const { g_free(text); }
};

// Null unless it holds an absolute path, as the base directory rules ask for.
const char* absolutePathIn(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && g_path_is_absolute(value) != FALSE ? value : nullptr;
}

}  // namespace

LinuxUserDefaults::LinuxUserDefaults(std::string path) : path(std::move(path)) {}

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
  const auto content = readTextFile(path, fileBytesMax);
  // GLib would take a key only up to an embedded NUL.
  if (!content || key.find('\0') != std::string::npos) return {};
  const KeyFile file(g_key_file_new());
  if (g_key_file_load_from_data(file.get(), content->data(), content->size(), G_KEY_FILE_NONE,
                                nullptr) == FALSE) {
    return {};
  }
  GError* error = nullptr;
  const std::unique_ptr<char, Free> text(
      g_key_file_get_string(file.get(), "defaults", key.c_str(), &error));
  // A value with a broken escape comes together with an error.
  if (error != nullptr) {
    g_error_free(error);
    return {};
  }
  return text.get();
}

}  // namespace quorvin
