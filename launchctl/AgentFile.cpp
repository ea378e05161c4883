#include "launchctl/AgentFile.h"

#include <fcntl.h>
#include <glib.h>
#include <grp.h>
#include <pwd.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "launchctl/LaunchctlError.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin::launchctl {

namespace {

[[noreturn]] void failKind(const std::string& key, const std::string& kind) {
  throw LaunchctlError("its key " + key + " is not " + kind);
}

// What the keys are for, names and arguments of programs, ends at a NUL.
bool isText(std::string_view bytes) {
  return bytes.find('\0') == std::string_view::npos &&
         g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE;
}

std::optional<std::string> textOf(plist_t node) {
  if (plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t length = 0;
  const char* bytes = plist_get_string_ptr(node, &length);
  std::string found(bytes == nullptr ? "" : bytes, bytes == nullptr ? 0 : length);
  return isText(found) ? std::optional(std::move(found)) : std::nullopt;
}

}  // namespace

PropertyList::PropertyList(const std::string& xml) {
  // The binary form lets a small file stand for a list without end, and nobody writes it here.
  if (plist_is_binary(xml.data(), static_cast<std::uint32_t>(xml.size())) != 0) {
    throw LaunchctlError("it is a binary property list; write it as XML");
  }
  plist_t parsed = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
  root.reset(parsed);
  if (parsed == nullptr || plist_get_node_type(parsed) != PLIST_DICT) {
    throw LaunchctlError("it is not a property list in XML with a dictionary at its root");
  }
}

plist_t PropertyList::item(const char* key) const {
  return plist_dict_get_item(root.get(), key);
}

std::optional<std::string> PropertyList::text(const char* key) const {
  const auto node = item(key);
  if (node == nullptr) return std::nullopt;
  auto found = textOf(node);
  if (!found) failKind(key, "a text in UTF-8");
  return found;
}

std::optional<bool> PropertyList::boolean(const char* key) const {
  const auto node = item(key);
  if (node == nullptr) return std::nullopt;
  if (plist_get_node_type(node) != PLIST_BOOLEAN) failKind(key, "true or false");
  std::uint8_t found = 0;
  plist_get_bool_val(node, &found);
  return found != 0;
}

std::optional<std::vector<std::string>> PropertyList::texts(const char* key) const {
  const auto node = item(key);
  if (node == nullptr) return std::nullopt;
  if (plist_get_node_type(node) != PLIST_ARRAY) failKind(key, "a list of texts");
  std::vector<std::string> found;
  const auto count = plist_array_get_size(node);
  for (std::uint32_t index = 0; index < count; ++index) {
    auto one = textOf(plist_array_get_item(node, index));
    if (!one) failKind(key, "a list of texts in UTF-8");
    found.push_back(std::move(*one));
  }
  return found;
}

namespace {

constexpr std::string_view extension = ".plist";
// Many times what an agent needs, and little enough that no list in it can exhaust anything.
constexpr std::size_t largestFile = 65536;
constexpr std::size_t mostArguments = 256;

constexpr auto labelKey = "Label";

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

// Files and a systemd unit are named after it, so it is made of what is safe in both. A first "."
// would hide a file, a first "-" looks like an option.
bool isLabel(std::string_view text) {
  constexpr std::size_t longest = 200;
  constexpr std::string_view alphanumeric =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  const auto safe = std::string(alphanumeric) + ".-_";
  return text.find_first_of(alphanumeric) == 0 && text.size() <= longest &&
         text.find_first_not_of(safe) == std::string_view::npos;
}

// The group that useradd(8) makes for this user alone: it has the user's name, lists nobody else
// and is no other account's own. The name is asked for because not every user database tells of all
// its accounts.
bool isOwnGroup(gid_t group) {
  const auto* account = ::getpwuid(::getuid());
  if (account == nullptr || account->pw_gid != group) return false;
  const std::string user = account->pw_name;
  const auto* entry = ::getgrgid(group);
  bool isOwn = entry != nullptr && user == entry->gr_name;
  for (auto* member = isOwn ? entry->gr_mem : nullptr; isOwn && *member != nullptr; ++member) {
    isOwn = user == *member;
  }
  ::setpwent();
  while (isOwn && (account = ::getpwent()) != nullptr) {
    isOwn = account->pw_gid != group || account->pw_uid == ::getuid();
  }
  ::endpwent();
  return isOwn;
}

// With an access control list, the permissions of the group are those of everybody on it.
bool hasAccessList(int file) {
  return ::fgetxattr(file, "system.posix_acl_access", nullptr, 0) > 0;
}

// launchd reads no file that somebody else could have written. A user's private group, for which
// many systems let every file be written, is nobody else.
void requireTrustworthy(int file) {
  struct stat state {};
  if (::fstat(file, &state) != 0) throw LaunchctlError(reasonOf(errno));
  if (!S_ISREG(state.st_mode)) throw LaunchctlError("it is not a regular file");
  if (state.st_uid != 0 && state.st_uid != ::getuid()) {
    throw LaunchctlError("it belongs to another user; copy it to a file of your own");
  }
  const bool mayOthers = (state.st_mode & S_IWOTH) != 0;
  const bool mayGroup = (state.st_mode & S_IWGRP) != 0;
  if (mayOthers || (mayGroup && (hasAccessList(file) || !isOwnGroup(state.st_gid)))) {
    throw LaunchctlError("others may write to it; run chmod go-w on it");
  }
}

// Never more than one byte above the limit, which is then told from a file that just fits.
std::string readAll(int file) {
  std::string content(largestFile + 1, '\0');
  std::size_t size = 0;
  while (size < content.size()) {
    const auto count = ::read(file, content.data() + size, content.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw LaunchctlError(reasonOf(errno));
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
  }
  if (size > largestFile) throw LaunchctlError("it is larger than 64 KiB");
  content.resize(size);
  return content;
}

PropertyList readPropertyList(const std::filesystem::path& file) {
  // Opening a named pipe must not wait for somebody who writes to it.
  const FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!opened.isOpen()) throw LaunchctlError(reasonOf(errno));
  requireTrustworthy(opened.get());
  return PropertyList(readAll(opened.get()));
}

std::string requireLabel(const PropertyList& list) {
  auto label = list.text(labelKey);
  if (!label) throw LaunchctlError("its key Label is missing");
  if (!isLabel(*label)) {
    throw LaunchctlError(
        "its Label is not made of at most 200 letters, digits, \".\", \"-\" and \"_\", the first "
        "of them a letter or a digit");
  }
  return *label;
}

void requireExecutable(const std::string& path) {
  struct stat state {};
  if (!path.starts_with('/'))
    throw LaunchctlError("its program " + path + " is not an absolute path");
  if (::stat(path.c_str(), &state) != 0 || !S_ISREG(state.st_mode) ||
      ::access(path.c_str(), X_OK) != 0) {
    throw LaunchctlError("its program " + path + " is not a file that can be executed");
  }
}

std::vector<std::string> requireArguments(const PropertyList& list) {
  auto arguments = list.texts("ProgramArguments");
  if (!arguments || arguments->empty())
    throw LaunchctlError("its ProgramArguments name no program");
  if (arguments->size() > mostArguments)
    throw LaunchctlError("it has more than 256 ProgramArguments");
  requireExecutable(arguments->front());
  return *arguments;
}

// "Aqua" is the graphical login, and the only session that an agent can have here.
void requireGraphicalSession(const PropertyList& list) {
  const auto type = list.text("LimitLoadToSessionType");
  if (type && ::strcasecmp(type->c_str(), "Aqua") != 0) {
    throw LaunchctlError(
        "its LimitLoadToSessionType is not Aqua, the only kind of session there is here");
  }
}

void requireKnownProcessType(const PropertyList& list) {
  constexpr std::array<std::string_view, 4> known{"Background", "Standard", "Adaptive",
                                                  "Interactive"};
  const auto type = list.text("ProcessType");
  if (type && std::ranges::find(known, *type) == known.end()) {
    throw LaunchctlError(
        "its ProcessType is none of Background, Standard, Adaptive and Interactive");
  }
}

Agent agentOf(const PropertyList& list) {
  auto label = requireLabel(list);
  auto arguments = requireArguments(list);
  requireGraphicalSession(list);
  requireKnownProcessType(list);
  const bool keepAlive = list.boolean("KeepAlive").value_or(false);
  const bool runAtLoad = list.boolean("RunAtLoad").value_or(false);
  if (!runAtLoad && !keepAlive) {
    throw LaunchctlError("nothing would ever start its program; set RunAtLoad to true");
  }
  return {std::move(label), std::move(arguments), keepAlive};
}

std::optional<std::string> labelInside(const std::filesystem::path& file) {
  try {
    return requireLabel(readPropertyList(file));
  } catch (const LaunchctlError&) {
    return std::nullopt;
  }
}

}  // namespace

Agent readAgentFile(const std::filesystem::path& file) {
  try {
    if (file.extension() != extension) throw LaunchctlError("its name does not end in .plist");
    return agentOf(readPropertyList(file));
  } catch (const LaunchctlError& failure) {
    throw LaunchctlError("cannot use " + file.string() + ": " + failure.what());
  }
}

std::optional<std::string> labelOfAgentFile(const std::filesystem::path& file) {
  if (auto label = labelInside(file)) return label;
  if (file.extension() != extension || !isLabel(file.stem().string())) return std::nullopt;
  return file.stem().string();
}

}  // namespace quorvin::launchctl
