#include "launchctl/LoginFiles.h"

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string_view>
#include <system_error>

#include "launchctl/LaunchctlError.h"
#include "platform/unix/GlibPtr.h"

namespace quorvin::launchctl {

namespace {

// The same command by way of a shell that becomes the program at once. For whoever takes any text
// as an argument but not as a program's name.
std::vector<std::string> throughShell(std::vector<std::string> command) {
  const std::vector<std::string> shell{"/bin/sh", "-c", "exec \"$@\"", "sh"};
  command.insert(command.begin(), shell.begin(), shell.end());
  return command;
}

constexpr char firstPrintable = ' ';
constexpr char deleteSign = '\x7f';

bool isControl(char letter) {
  return (letter >= 0 && letter < firstPrintable) || letter == deleteSign;
}

// systemd refuses a program whose path holds one of these, however it is quoted.
bool canBeProgram(std::string_view path) {
  return path.find_first_of("\"'\\") == std::string_view::npos &&
         std::ranges::none_of(path, isControl);
}

std::string hexadecimal(char letter) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(letter);
  return {'\\', 'x', digits[value / 16], digits[value % 16]};
}

std::string quotedForSystemd(std::string_view argument) {
  std::string text = "\"";
  for (const char letter : argument) {
    if (letter == '"' || letter == '\\') {
      text += {'\\', letter};
    } else if (letter == '%') {
      text += "%%";  // stands alone for a specifier
    } else if (isControl(letter)) {
      text += hexadecimal(letter);
    } else {
      text += letter;
    }
  }
  return text + '"';
}

std::string quotedForDesktops(std::string_view argument) {
  std::string text = "\"";
  for (const char letter : argument) {
    if (std::string_view("\"`$\\").find(letter) != std::string_view::npos) text += '\\';
    if (letter == '%') text += '%';  // stands alone for a field code
    text += letter;
  }
  return text + '"';
}

// Every value of the type "string" is written like this, whatever it holds.
std::string escaped(std::string_view value) {
  std::string text;
  for (const char letter : value) {
    switch (letter) {
      case '\\':
        text += "\\\\";
        break;
      case '\n':
        text += "\\n";
        break;
      case '\t':
        text += "\\t";
        break;
      case '\r':
        text += "\\r";
        break;
      default:
        text += letter;
    }
  }
  return text;
}

constexpr std::string_view firstLine =
    "# Written by quorvin-launchctl; \"quorvin-launchctl bootout\" removes it.\n";
constexpr int folderMode = 0700;  // XDG Base Directory Specification
constexpr int fileMode = 0644;

[[noreturn]] void fail(const std::string& what, const std::filesystem::path& path,
                       const std::string& reason) {
  throw LaunchctlError("cannot " + what + " " + path.string() + ": " + reason);
}

// g_file_set_contents_full adds a dot and six letters to the name for as long as it writes.
bool isTemporaryNameOf(std::string_view name, std::string_view file) {
  constexpr std::size_t added = 7;
  return name.size() == file.size() + added && name.starts_with(file) && name[file.size()] == '.';
}

bool startsWithFirstLine(const std::filesystem::path& path) {
  std::string start(firstLine.size(), '\0');
  std::ifstream file(path, std::ios::binary);
  return file.read(start.data(), static_cast<std::streamsize>(start.size())) && start == firstLine;
}

}  // namespace

std::string systemdUnitName(const std::string& label) {
  return label + ".service";
}

std::string systemdCommandLine(const std::vector<std::string>& command) {
  if (!canBeProgram(command.front())) return systemdCommandLine(throughShell(command));
  // The colon, which is not a part of the path, keeps "$" from standing for a variable.
  std::string line = quotedForSystemd(":" + command.front());
  for (auto argument = command.begin() + 1; argument != command.end(); ++argument) {
    line += ' ' + quotedForSystemd(*argument);
  }
  return line;
}

// Ten seconds between two starts, as launchd has it. An agent that ends at once for ten minutes is
// given up until the next login; one that ends with status 2 says that it is not wanted. "simple",
// because a start is no failure of ours when the agent ends at once.
std::string systemdUnitText(const Agent& agent) {
  return "[Unit]\n"
         "Description=Login agent " +
         agent.label +
         "\n"
         "PartOf=graphical-session.target\n"
         "After=graphical-session.target\n"
         "StartLimitIntervalSec=3600\n"
         "StartLimitBurst=60\n"
         "\n"
         "[Service]\n"
         "Type=simple\n"
         "ExecStart=" +
         systemdCommandLine(agent.programArguments) +
         "\n"
         "Restart=" +
         (agent.keepAlive ? "always" : "no") +
         "\n"
         "RestartSec=10\n"
         "RestartPreventExitStatus=2\n"
         "TimeoutStopSec=20\n"
         "\n"
         "[Install]\n"
         "WantedBy=graphical-session.target\n";
}

std::string desktopCommandLine(const std::vector<std::string>& command) {
  // The one sign that a program's name may not hold, even quoted.
  if (command.front().find('=') != std::string::npos) {
    return desktopCommandLine(throughShell(command));
  }
  std::string line;
  for (const auto& argument : command) {
    if (!line.empty()) line += ' ';
    line += quotedForDesktops(argument);
  }
  return escaped(line);
}

std::string autostartEntryText(const std::string& label, const std::vector<std::string>& command,
                               AutostartReader reader) {
  std::string text =
      "[Desktop Entry]\n"
      "Type=Application\n"
      "Name=" +
      label + "\nExec=" + desktopCommandLine(command) +
      "\n"
      "Terminal=false\n"
      "NoDisplay=true\n";
  // systemd-xdg-autostart-generator(8)
  if (reader == AutostartReader::desktopsWithoutSystemd) text += "X-systemd-skip=true\n";
  return text;
}

bool ManagedFile::exists() const {
  std::error_code ignored;
  // A symbolic link, which is how systemd masks a unit, is never ours.
  return std::filesystem::is_regular_file(std::filesystem::symlink_status(place, ignored)) &&
         startsWithFirstLine(place);
}

bool ManagedFile::isUnmanaged() const {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(place, ignored)) && !exists();
}

std::string ManagedFile::content() const {
  if (!exists()) return {};
  std::ifstream file(place, std::ios::binary);
  file.seekg(static_cast<std::streamoff>(firstLine.size()));
  return {std::istreambuf_iterator<char>(file), {}};
}

void ManagedFile::replace(const std::string& text) const {
  const auto folder = place.parent_path();
  if (g_mkdir_with_parents(folder.c_str(), folderMode) != 0) {
    fail("make the folder", folder, std::generic_category().message(errno));
  }
  removeTemporaryFiles();
  const auto whole = std::string(firstLine) + text;
  constexpr auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                            G_FILE_SET_CONTENTS_DURABLE);
  GError* problem = nullptr;
  g_file_set_contents_full(place.c_str(), whole.data(), static_cast<gssize>(whole.size()), flags,
                           fileMode, &problem);
  const GlibPtr<GError> error(problem);
  if (error) fail("write", place, error->message);
}

void ManagedFile::remove() const {
  removeTemporaryFiles();
  if (!exists()) return;
  std::error_code error;
  std::filesystem::remove(place, error);
  if (error) fail("delete", place, error.message());
}

void ManagedFile::removeTemporaryFiles() const {
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(place.parent_path(), ignored)) {
    if (isTemporaryNameOf(entry.path().filename().string(), place.filename().string())) {
      std::filesystem::remove(entry.path(), ignored);
    }
  }
}

}  // namespace quorvin::launchctl
