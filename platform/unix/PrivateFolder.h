#pragma once

#include <string>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// A folder that only this user gets into, whatever the mask (umask) says. What fails throws
// std::system_error.
class PrivateFolder {
 public:
  // Makes the folder, or closes it to others.
  explicit PrivateFolder(const std::string& path);

  // A new file, which only this user reads, takes the name at once and whole.
  void write(const std::string& name, const std::string& content) const;
  // Up to 4 KiB; empty when there is no such file. Refuses what is no plain file of this user's,
  // and what others may read or write.
  [[nodiscard]] std::string read(const std::string& name) const;
  // The file, to be read and written for as long as it is held; made if it is not there. Refuses
  // what is no plain file of this user's, and closes it to others.
  [[nodiscard]] FileDescriptor hold(const std::string& name) const;
  // If there is such a file, and it can be removed.
  void remove(const std::string& name) const noexcept;

 private:
  FileDescriptor folder;
};

}  // namespace quorvin
