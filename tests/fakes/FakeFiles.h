#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Error.h"
#include "platform/Files.h"
#include "tests/fakes/FailurePlan.h"

namespace quorvin::fakes {

// A file tree in memory, empty but for the root. An operation named in `failures` (such as
// "createDirectory") throws that error and changes nothing; `contents` then gives nothing.
class FakeFiles final : public Files {
 public:
  using Path = std::filesystem::path;

  Path bundle = "/Applications/Quorvin Support.app";
  std::optional<Path> executable =
      "/Applications/Quorvin Support.app/Contents/Linux/quorvin-support";
  Path home = "/Users/someone";
  std::optional<Path> currentUsersHome;  // where the two answers are to differ
  std::optional<Path> desktop = "/Users/someone/Desktop";
  std::map<std::string, Error> failures;
  FailurePlan* plan = nullptr;
  std::vector<std::string> changes;  // "createDirectory /a/b" and so on, also of failed ones

  void addDirectory(const Path& path) {
    Path ancestor;
    for (const auto& part : path) tree.try_emplace(ancestor /= part, Directory{});
  }
  void addFile(const Path& path, std::string_view content) {
    addDirectory(path.parent_path());
    tree[path] = Bytes(content.begin(), content.end());
  }
  void addLink(const Path& path, const Path& destination) {
    addDirectory(path.parent_path());
    tree[path] = Link{destination};
  }
  // Nothing unless a file, and not a link to one, stands there.
  [[nodiscard]] std::optional<std::string> textAt(const Path& path) const {
    const auto* bytes = nodeAs<Bytes>(path);
    return bytes == nullptr ? std::nullopt
                            : std::optional(std::string(bytes->begin(), bytes->end()));
  }
  [[nodiscard]] bool isDirectory(const Path& path) const {
    return nodeAs<Directory>(path) != nullptr;
  }
  // Whatever stands there, a link that leads nowhere included.
  [[nodiscard]] bool hasItem(const Path& path) const { return tree.contains(path); }

  Path bundlePath() override { return bundle; }
  std::optional<Path> executablePath() override { return executable; }
  Path homeDirectoryForCurrentUser() override { return currentUsersHome.value_or(home); }
  Path homeDirectory() override { return home; }
  std::optional<Path> desktopDirectory() override { return desktop; }
  Path standardized(const Path& path) override {
    const auto normal = path.lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
  }

  void createDirectory(const Path& path) override {
    begin("createDirectory", path);
    Path ancestor;
    for (const auto& part : path) {
      ancestor /= part;
      if (hasItem(ancestor) && !isDirectory(resolved(ancestor))) {
        throw error(ancestor, "is in the way");
      }
    }
    addDirectory(path);
  }
  std::optional<Data> contents(const Path& path) override {
    try {
      failIfAsked("contents");
    } catch (const Error&) {
      return {};
    }
    const auto* bytes = nodeAs<Bytes>(resolved(path));
    return bytes == nullptr ? std::nullopt : std::optional(Data(*bytes));
  }
  void writeAtomically(std::span<const std::uint8_t> bytes, const Path& path) override {
    begin("writeAtomically", path);
    if (!isDirectory(path.parent_path())) throw error(path, "has no folder");
    if (isDirectory(path)) throw error(path, "is a folder");
    tree[path] = Bytes(bytes.begin(), bytes.end());
  }
  void removeItem(const Path& path) override {
    begin("removeItem", path);
    if (!hasItem(path)) throw error(path, "does not exist");
    std::erase_if(tree, [&](const auto& entry) { return isInside(entry.first, path); });
  }
  bool fileExists(const Path& path) override { return hasItem(resolved(path)); }

  void createSymbolicLink(const Path& link, const Path& destination) override {
    begin("createSymbolicLink", link);
    if (hasItem(link)) throw error(link, "exists already");
    if (!isDirectory(link.parent_path())) throw error(link, "has no folder");
    tree[link] = Link{destination};
  }
  Path destinationOfSymbolicLink(const Path& link) override {
    failIfAsked("destinationOfSymbolicLink");
    const auto* found = nodeAs<Link>(link);
    if (found == nullptr) throw error(link, "is no link");
    return found->destination;
  }

 private:
  struct Directory {};
  struct Link {
    Path destination;
  };
  using Node = std::variant<Directory, Bytes, Link>;

  template <typename Kind>
  [[nodiscard]] const Kind* nodeAs(const Path& path) const {
    const auto node = tree.find(path);
    return node == tree.end() ? nullptr : std::get_if<Kind>(&node->second);
  }
  static bool isInside(const Path& path, const Path& folder) {
    const auto relative = path.lexically_relative(folder);
    return !relative.empty() && *relative.begin() != "..";
  }
  static Error error(const Path& path, const std::string& what) {
    return {"fake", 1, path.string() + " " + what + "."};
  }
  // Follows the link at the path itself; those on the way are not modelled.
  [[nodiscard]] Path resolved(Path path) {
    constexpr int linksMax = 40;
    for (int count = 0; count < linksMax; ++count) {
      const auto* link = nodeAs<Link>(path);
      if (link == nullptr) return path;
      path = standardized(path.parent_path() / link->destination);
    }
    return {};
  }
  void begin(const std::string& operation, const Path& path) {
    changes.push_back(operation + " " + path.string());
    failIfAsked(operation);
  }
  void failIfAsked(const std::string& operation) const {
    if (const auto failure = failures.find(operation); failure != failures.end()) {
      throw failure->second;
    }
    if (plan != nullptr) plan->step(operation);
  }

  std::map<Path, Node> tree = {{"/", Directory{}}};
};

}  // namespace quorvin::fakes
