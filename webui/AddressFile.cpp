#include "webui/AddressFile.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace quorvin::webui {

namespace {

constexpr const char* folderName = "/com.quorvin.support";
constexpr mode_t onlyMine = 0700;

bool isMine(const struct stat& folder) {
  return S_ISDIR(folder.st_mode) && folder.st_uid == geteuid();
}

// As the XDG base directory specification wants it.
std::string baseFolder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  struct stat found {};
  if (runtime != nullptr && *runtime == '/' && stat(runtime, &found) == 0 && isMine(found) &&
      (found.st_mode & ALLPERMS) == onlyMine) {
    return runtime;
  }
  return g_get_user_state_dir();
}

void check(bool isDone, int error = errno) {
  if (!isDone) throw std::system_error(error, std::generic_category());
}

std::string pageLeadingTo(const std::string& address) {
  return "<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<title>Quorvin Support</title>\n"
         "<meta http-equiv=\"refresh\" content=\"0; url=" +
         address + "\">\n<a href=\"" + address + "\">" + address + "</a>\n";
}

}  // namespace

AddressFile::AddressFile(std::uint16_t port, const std::string& address)
    : name("page-" + std::to_string(port) + ".html") {
  const auto folderPath = baseFolder() + folderName;
  try {
    write(folderPath, pageLeadingTo(address));
    filePath = folderPath + "/" + name;
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "quorvin-webui: no file with the page's address in %s: %s\n",
                 folderPath.c_str(), error.what());
  }
}

AddressFile::~AddressFile() {
  if (!filePath.empty()) unlinkat(folder.get(), name.c_str(), 0);
}

void AddressFile::write(const std::string& folderPath, const std::string& content) {
  check(g_mkdir_with_parents(folderPath.c_str(), onlyMine) == 0);
  folder =
      FileDescriptor(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  check(folder.get() >= 0);
  struct stat found {};
  check(fstat(folder.get(), &found) == 0);
  check(isMine(found), EPERM);
  check(fchmod(folder.get(), onlyMine) == 0);
  const auto newName = name + ".new";
  unlinkat(folder.get(), newName.c_str(), 0);
  const FileDescriptor file(openat(folder.get(), newName.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  check(file.get() >= 0);
  check(::write(file.get(), content.data(), content.size()) ==
        static_cast<ssize_t>(content.size()));
  check(renameat(folder.get(), newName.c_str(), folder.get(), name.c_str()) == 0);
}

}  // namespace quorvin::webui
