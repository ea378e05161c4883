#include "platform/linux/system/UserDefaults.h"

#include <glib.h>

#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/linux/system/DefaultsFile.h"

namespace quorvin {
namespace {

struct Free {
  void operator()(char* text) const { g_free(text); }
};

// Null unless it holds an absolute path, as the base directory rules ask for.
const char* absolutePathIn(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && g_path_is_absolute(value) != FALSE ? value : nullptr;
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
  return DefaultsFile::readString(path, key);
}

void LinuxUserDefaults::setBool(bool value, const std::string& key) {
  changes[key] = value ? "true" : "false";
}

void LinuxUserDefaults::setString(const std::string& value, const std::string& key) {
  const std::unique_ptr<char, Free> valid(
      g_utf8_make_valid(value.data(), static_cast<gssize>(value.size())));
  changes[key] = valid.get();
}

void LinuxUserDefaults::removeObject(const std::string& key) {
  changes[key] = std::nullopt;
}

void LinuxUserDefaults::synchronize() {
  if (!DefaultsFile::holds(path, changes)) {
    accountLock.take();
    DefaultsFile::store(path, changes);
  }
  changes.clear();
}

}  // namespace quorvin
