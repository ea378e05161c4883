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

}  // namespace quorvin::launchctl
