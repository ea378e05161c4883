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
  // Whether the file says all of this already, an empty text standing for a key that is not there.
  [[nodiscard]] static bool holds(const std::string& path,
                                  const std::map<std::string, std::optional<std::string>>& changes);
  // Makes the changes, an empty one removing its key, in the file as it is now, and brings it to
  // the disk, readable for its owner only. Its folder is there, and nobody else stores meanwhile.
  // Throws an Error when it cannot be stored; the file is then as it was.
  static void store(const std::string& path,
                    const std::map<std::string, std::optional<std::string>>& changes);
};

}  // namespace quorvin
