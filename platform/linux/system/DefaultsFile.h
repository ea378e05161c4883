#pragma once

#include <map>
#include <optional>
#include <string>

namespace quorvin {

// A settings file on the disk, in the format of GLib's GKeyFile. Any thread, any process.
class DefaultsFile {
 public:
  DefaultsFile() = delete;

  // The text of a key; nothing when the file or the key is missing or cannot be understood.
  [[nodiscard]] static std::optional<std::string> readString(const std::string& path,
                                                             const std::string& key);
  // Makes the changes, an empty one removing its key, in the file as it is now, and brings it to
  // the disk. Processes that store at the same time come one after the other. Throws an Error when
  // it cannot be stored; the file is then as it was.
  static void store(const std::string& path,
                    const std::map<std::string, std::optional<std::string>>& changes);
};

}  // namespace quorvin
