#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace standin {

// Why a file operation failed, before it becomes an NSError.
struct FileFailure {
  enum class Kind { reading, writing };

  int errnoValue = 0;
  std::string path;
  Kind kind = Kind::writing;
};
using FileOutcome = std::optional<FileFailure>;

// Hands the error out when there is one and somebody asks for it; true when there is none.
bool succeeded(const FileOutcome& outcome, NSError** error);

[[nodiscard]] FileOutcome readFile(const std::string& path, std::string& bytes);
// Atomically.
[[nodiscard]] FileOutcome writeFile(const std::string& path, std::string_view bytes);

// The last component and the folder's path, as Foundation splits a path.
[[nodiscard]] std::string lastComponent(const std::string& path);
[[nodiscard]] std::string folderOf(const std::string& path);
// As URLByStandardizingPath, without the short forms of the system's folders.
[[nodiscard]] std::string standardizedPath(std::string path);
[[nodiscard]] std::string joined(const std::string& folder, const std::string& component);

}  // namespace standin
