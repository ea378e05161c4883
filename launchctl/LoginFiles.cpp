#include "launchctl/LoginFiles.h"

#include <algorithm>
#include <string_view>

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

}  // namespace quorvin::launchctl
