#include "launchctl/AutostartEntry.h"

#include <string_view>

#include "launchctl/Agent.h"

namespace quorvin::launchctl {
namespace {

std::string inQuotes(std::string_view argument) {
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

}  // namespace

std::string desktopCommandLine(const std::vector<std::string>& command) {
  // The one sign that a program's name may not hold, even quoted.
  if (command.front().find('=') != std::string::npos) {
    return desktopCommandLine(throughShell(command));
  }
  std::string line;
  for (const auto& argument : command) {
    if (!line.empty()) line += ' ';
    line += inQuotes(argument);
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

}  // namespace quorvin::launchctl
