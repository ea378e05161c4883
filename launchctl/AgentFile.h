#pragma once

#include <plist/plist.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace quorvin::launchctl {

struct PropertyListDeleter {
  void operator()(plist_t node) const { plist_free(node); }
};

// A property list whose root is a dictionary. Looking up a key throws LaunchctlError when its value
// is of another kind than asked for, and gives nothing when the key is not there.
class PropertyList {
 public:
  // Reads XML. Throws LaunchctlError when that is not what it is.
  explicit PropertyList(const std::string& xml);

  [[nodiscard]] std::optional<std::string> text(const char* key) const;
  [[nodiscard]] std::optional<bool> boolean(const char* key) const;
  [[nodiscard]] std::optional<std::vector<std::string>> texts(const char* key) const;

 private:
  [[nodiscard]] plist_t item(const char* key) const;

  std::unique_ptr<std::remove_pointer_t<plist_t>, PropertyListDeleter> root;
};

// A program that is to run while the user is logged in (launchd.plist(5)).
struct Agent {
  std::string label;
  // The program's absolute path, and what it finds as its arguments after it. UTF-8.
  std::vector<std::string> programArguments;
  // Whether it is started again whenever it has ended.
  bool keepAlive = false;
};

// Reads the property list (XML) that describes an agent. Throws LaunchctlError, which says what is
// wrong with the file or with what it asks for. The rules about whose file it may be and who may
// write it are those of launchd: whoever can change the file can have a program run as this user.
[[nodiscard]] Agent readAgentFile(const std::filesystem::path& file);

// Which agent a file is about: the label inside it, or else the one that its name stands for
// ("LABEL.plist"). The file may be in any state, or gone.
[[nodiscard]] std::optional<std::string> labelOfAgentFile(const std::filesystem::path& file);

}  // namespace quorvin::launchctl
