#include "launchctl/ProcessIdentity.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace quorvin::launchctl {
namespace {

std::string bootId() {
  std::string line;
  std::ifstream file("/proc/sys/kernel/random/boot_id");
  std::getline(file, line);
  return line;
}

// What follows the program's name, which is in parentheses and may hold any letters.
std::string fieldsAfterName(const std::string& stat) {
  const auto end = stat.rfind(')');
  return end == std::string::npos ? std::string() : stat.substr(end + 1);
}

std::string statOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::optional<ProcessIdentity> identityOf(pid_t pid) {
  constexpr int startField = 22;
  std::istringstream fields(fieldsAfterName(statOf(pid)));
  std::string state;  // field 3
  fields >> state;
  if (state == "Z" || state == "X") return std::nullopt;  // it only waits to be forgotten
  std::string skipped;
  for (int field = 4; field < startField; ++field) fields >> skipped;
  ProcessIdentity identity{bootId(), 0, pid};
  if (!(fields >> identity.startTicks)) return std::nullopt;
  return identity;
}

std::string toText(const ProcessIdentity& identity) {
  return std::to_string(identity.pid) + ' ' + std::to_string(identity.startTicks) + ' ' +
         identity.boot + '\n';
}

std::optional<ProcessIdentity> identityFromText(const std::string& text) {
  std::istringstream words(text);
  ProcessIdentity identity;
  if (!(words >> identity.pid >> identity.startTicks >> identity.boot) || identity.pid <= 0) {
    return std::nullopt;
  }
  return identity;
}

}  // namespace quorvin::launchctl
