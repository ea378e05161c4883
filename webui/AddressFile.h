#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/unix/PrivateFolder.h"

namespace quorvin::webui {

// A page in a file that nobody else can read, and that leads whoever opens it to an address: what a
// browser is handed in the place of the address, which every user of the machine could read in its
// command line, and where the address can be read when nobody saw it printed. Lies in a folder of
// the program's own, below XDG_RUNTIME_DIR or, if that is of no use, in the folder for state.
class AddressFile {
 public:
  // Takes the place of whatever a program that is no more has left on this port. When there is no
  // place for it, standard error says so.
  AddressFile(std::uint16_t port, const std::string& address);
  // Removes it.
  ~AddressFile();
  AddressFile(const AddressFile&) = delete;
  AddressFile& operator=(const AddressFile&) = delete;

  // Empty if there is none.
  [[nodiscard]] const std::string& path() const { return filePath; }

 private:
  std::string name;
  std::optional<PrivateFolder> folder;
  std::string filePath;
};

}  // namespace quorvin::webui
