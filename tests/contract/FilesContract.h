#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// A file tree with an empty folder to work in.
class FilesWorld {
 public:
  FilesWorld() = default;
  FilesWorld(const FilesWorld&) = delete;
  FilesWorld& operator=(const FilesWorld&) = delete;
  virtual ~FilesWorld() = default;

  virtual Files& files() = 0;
  virtual std::filesystem::path folder() = 0;
  // As somebody else may make it: the destination can be relative.
  virtual void makeLink(const std::filesystem::path& link,
                        const std::filesystem::path& destination) {
    std::filesystem::create_symlink(destination, link);
  }
};

class FilesContract : public Contract<FilesWorld> {
 protected:
  std::filesystem::path at(std::string_view name) { return world->folder() / name; }
  void write(std::string_view name, std::string_view text);
  std::optional<std::string> textAt(std::string_view name);
  // Whether the work ends in an error, and one that says what is wrong.
  static bool isRefused(const std::function<void()>& work);

  Files& files = world->files();
};

}  // namespace quorvin::contract
