#include <algorithm>
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

std::string joined(const std::string& folder, const std::string& component) {
  auto components = componentsOf(folder);
  for (auto& added : componentsOf(component)) components.push_back(std::move(added));
  return composed(components, isAbsolute(folder) || (folder.empty() && isAbsolute(component)));
}

std::string standardizedPath(std::string path) {
  if (path.empty()) return path;
  path = composed(componentsOf(path), isAbsolute(path));
  if (hasParentComponent(path)) path = withLinksResolved(path);
  return withoutDots(path);
}

}  // namespace standin
