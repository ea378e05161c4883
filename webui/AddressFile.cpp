#include "webui/AddressFile.h"

#include <glib.h>
#include <sys/stat.h>

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
    folder.emplace(folderPath);
    folder->write(name, pageLeadingTo(address));
    filePath = folderPath + "/" + name;
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "quorvin-webui: no file with the page's address in %s: %s\n",
                 folderPath.c_str(), error.what());
  }
}

AddressFile::~AddressFile() {
  if (!filePath.empty()) folder->remove(name);
}

}  // namespace quorvin::webui
