#import "tests/macos/frameworks/Foundation/Support.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <vector>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

namespace standin {
namespace {

std::vector<std::string> componentsOf(const std::string& path) {
  std::vector<std::string> components;
  for (std::size_t begin = 0; begin < path.size();) {
    const auto end = std::min(path.find('/', begin), path.size());
    if (end > begin) components.push_back(path.substr(begin, end - begin));
    begin = end + 1;
  }
  return components;
}

std::string composed(const std::vector<std::string>& components, bool isAbsolute) {
  std::string path = isAbsolute ? "/" : "";
  for (const auto& component : components) {
    if (!path.empty() && path.back() != '/') path += '/';
    path += component;
  }
  return path;
}

bool isAbsolute(const std::string& path) { return path.starts_with('/'); }

bool hasParentComponent(const std::string& path) {
  const auto components = componentsOf(path);
  return std::ranges::find(components, "..") != components.end();
}

std::string withLinksResolved(const std::string& path) {
  std::error_code error;
  const auto resolved = std::filesystem::canonical(path, error);
  return error ? path : resolved.string();
}

// Folders of the system exist with and without "/private", and the short form is the usual one;
// other people's folders keep theirs.
std::string withoutPrivatePrefix(const std::string& path) {
  static constexpr std::array prefixes{"/private/var/automount/", "/var/automount/", "/private/"};
  static constexpr std::array kept{"/Applications", "/Library", "/System", "/Users",
                                   "/Volumes",      "/bin",     "/cores",  "/dev",
                                   "/opt",          "/private", "/sbin",   "/usr"};
  for (const std::string prefix : prefixes) {
    if (!path.starts_with(prefix)) continue;
    const auto shortened = path.substr(prefix.size() - 1);
    const bool isKept = std::ranges::any_of(
        kept, [&shortened](const char* start) { return shortened.starts_with(start); });
    std::error_code error;
    return !isKept && std::filesystem::exists(shortened, error) ? shortened : path;
  }
  return path;
}

}  // namespace

std::string lastComponent(const std::string& path) {
  const auto components = componentsOf(path);
  if (components.empty()) return isAbsolute(path) ? "/" : "";
  return components.back();
}

std::string folderOf(const std::string& path) {
  auto components = componentsOf(path);
  if (!components.empty()) components.pop_back();
  return composed(components, isAbsolute(path));
}

std::string extensionOf(const std::string& path) {
  const auto name = lastComponent(path);
  const auto dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return "";
  const auto extension = name.substr(dot + 1);
  return extension.find(' ') == std::string::npos ? extension : "";
}

std::string joined(const std::string& folder, const std::string& component) {
  auto components = componentsOf(folder);
  for (auto& added : componentsOf(component)) components.push_back(std::move(added));
  return composed(components, isAbsolute(folder) || (folder.empty() && isAbsolute(component)));
}

std::string withoutDots(const std::string& path) {
  std::vector<std::string> kept;
  for (auto& component : componentsOf(path)) {
    if (component == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (component != ".") {
      kept.push_back(std::move(component));
    }
  }
  return composed(kept, isAbsolute(path));
}

std::string standardizedPath(std::string path) {
  if (path.empty()) return path;
  path = composed(componentsOf(path), isAbsolute(path));
  if (hasParentComponent(path)) path = withLinksResolved(path);
  return withoutPrivatePrefix(withoutDots(path));
}

}  // namespace standin

@implementation NSString (NSStringPathExtensions)

- (NSString*)lastPathComponent {
  return standin::stringOf(std::string_view(standin::lastComponent(standin::utf8Of(self))));
}

- (NSString*)stringByDeletingLastPathComponent {
  return standin::stringOf(std::string_view(standin::folderOf(standin::utf8Of(self))));
}

- (NSString*)stringByAppendingPathComponent:(NSString*)str {
  const auto path = standin::joined(standin::utf8Of(self), standin::utf8Of(str));
  return standin::stringOf(std::string_view(path));
}

- (NSString*)pathExtension {
  return standin::stringOf(std::string_view(standin::extensionOf(standin::utf8Of(self))));
}

- (NSString*)stringByStandardizingPath {
  return standin::stringOf(std::string_view(standin::standardizedPath(standin::utf8Of(self))));
}

- (const char*)fileSystemRepresentation {
  return self.UTF8String;
}

@end
