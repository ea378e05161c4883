#include "platform/linux/system/Permissions.h"

#include <glib.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/linux/system/WholeFile.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin {
namespace {

constexpr std::size_t machineInfoBytesMax = 64 << 10;

// The value of a shell-like assignment, without its quotes and backslashes.
std::string unquoted(const std::string& value) {
  const GlibPtr<char> text(g_shell_unquote(value.c_str(), nullptr));
  return text != nullptr ? text.get() : "";
}

std::optional<std::string> usable(std::string name) {
  if (name.empty() || g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr) == 0)
    return {};
  return name;
}

std::optional<std::string> hostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return {};
  // What the kernel answers before anybody has set a name.
  if (std::string_view(name.data()) == "(none)") return {};
  return usable(name.data());
}

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds noTime{0};
constexpr std::chrono::milliseconds answerTimeout{1000};

// A display may let clients in and still keep its screen from them (the untrusted clients of the
// SECURITY extension), so one pixel is read.
bool canRead(X11Connection& display) {
  constexpr std::uint32_t allPlanes = 0xFFFFFFFF;
  const auto request = xcb_get_image(display.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, display.root(), 0, 0,
                                     1, 1, allPlanes);
  return x11Reply(xcb_get_image_reply, display.get(), request) != nullptr;
}

bool canInject(X11Connection& display) {
  const auto* extension = xcb_get_extension_data(display.get(), &xcb_test_id);
  return extension != nullptr && extension->present != 0;
}

// The X server of a Wayland session has the windows of X programs only, and black beside them. It
// calls its outputs, and so its monitors, XWAYLAND0 and so on.
bool isXwayland(X11Connection& display) {
  const auto* extension = xcb_get_extension_data(display.get(), &xcb_randr_id);
  if (extension == nullptr || extension->present == 0) return false;
  const auto monitors =
      x11Reply(xcb_randr_get_monitors_reply, display.get(),
               xcb_randr_get_monitors(display.get(), display.root(), /*get_active=*/1));
  if (monitors == nullptr || monitors->nMonitors == 0) return false;
  const auto first = xcb_randr_get_monitors_monitors_iterator(monitors.get());
  const auto name = x11Reply(xcb_get_atom_name_reply, display.get(),
                             xcb_get_atom_name(display.get(), first.data->name));
  return name != nullptr && std::string_view(xcb_get_atom_name_name(name.get()), name->name_len)
                                .starts_with("XWAYLAND");
}

std::string missingDisplayAdvice(const PermissionsEnvironment& environment, bool isXwayland) {
  if (isXwayland) {
    return "This Wayland session shows no program the whole screen. Log out, choose an X11 session "
           "at the login screen (\"GNOME on Xorg\"), and log in again.\n";
  }
  if (!environment.display.empty()) {
    return "The X display " + environment.display +
           " cannot be opened or its screen cannot be read. Check DISPLAY and XAUTHORITY.\n";
  }
  if (environment.isWaylandSession) {
    return "This Wayland session offers no X display (DISPLAY is not set). Log in to an X11 "
           "session to share the screen.\n";
  }
  return "There is no X display (DISPLAY is not set). Start Quorvin Support from a graphical X11 "
         "session.\n";
}

// What this process may do with an X display.
struct DisplayAccess {
  bool canRead = false;
  bool canInject = false;
  bool isXwayland = false;
};

}  // namespace

// Asks the display once and keeps the connection, whose end shows that the answer is out of date.
class LinuxPermissions::Display {
 public:
  // Begins to ask. An empty name stands for no display.
  explicit Display(std::string name);

  // Checks the connection and opens a new one when it broke. Nothing is allowed until the display
  // has answered. Waits for the first answer only, and only in the first second of this object's
  // life.
  [[nodiscard]] DisplayAccess access();
  // Whether `access` would not have to wait.
  [[nodiscard]] bool hasAnswered();

 private:
  void start();
  [[nodiscard]] bool isConnected();

  const std::string name;
  std::chrono::steady_clock::time_point waitsUntil;
  std::shared_ptr<DisplayAccess> answer;  // written by the attempt, read when that is over
  std::unique_ptr<DisplayAttempt> attempt;
};

LinuxPermissions::Display::Display(std::string name)
    : name(std::move(name)), waitsUntil(Clock::now() + answerTimeout) {
  if (!this->name.empty()) start();
}

DisplayAccess LinuxPermissions::Display::access() {
  if (name.empty()) return {};
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(waitsUntil - Clock::now());
  if (!attempt->isOverWithin(std::max(noTime, left))) return {};
  if (isConnected()) return *answer;
  waitsUntil = {};
  start();
  return {};
}

bool LinuxPermissions::Display::hasAnswered() {
  return name.empty() || attempt->isOverWithin(noTime);
}

void LinuxPermissions::Display::start() {
  answer = std::make_shared<DisplayAccess>();
  attempt = std::make_unique<DisplayAttempt>(name, [answer = answer](X11Connection& server) {
    if (isXwayland(server)) {
      answer->isXwayland = true;
    } else {
      *answer = {canRead(server), canInject(server)};
    }
    return true;
  });
}

// Reading what has arrived, without waiting, is how libxcb comes to see the end of a connection.
bool LinuxPermissions::Display::isConnected() {
  auto* connection = attempt->connection();
  if (connection == nullptr) return false;
  while (connection->pollEvent() != nullptr) {
  }
  return !connection->isBroken();
}

std::optional<std::string> prettyHostName(std::string_view machineInfo) {
  constexpr std::string_view assignment = "PRETTY_HOSTNAME=";
  std::optional<std::string> name;
  while (!machineInfo.empty()) {
    const auto line = machineInfo.substr(0, machineInfo.find('\n'));
    machineInfo.remove_prefix(std::min(line.size() + 1, machineInfo.size()));
    // A later assignment counts more than an earlier one, as in a shell.
    if (line.starts_with(assignment)) {
      name = usable(unquoted(std::string(line.substr(assignment.size()))));
    }
  }
  return name;
}

std::optional<std::string> computerName(const std::string& machineInfoPath) {
  const auto machineInfo = readRegularFile(machineInfoPath, machineInfoBytesMax);
  const auto pretty = machineInfo ? prettyHostName(*machineInfo) : std::nullopt;
  return pretty ? pretty : hostName();
}

PermissionsEnvironment PermissionsEnvironment::fromEnvironment() {
  PermissionsEnvironment environment;
  environment.display = environmentVariable("DISPLAY");
  environment.isWaylandSession = !environmentVariable("WAYLAND_DISPLAY").empty() ||
                                 environmentVariable("XDG_SESSION_TYPE") == "wayland";
  return environment;
}

LinuxPermissions::LinuxPermissions(Process& process, PermissionsEnvironment environment)
    : process(process),
      environment(std::move(environment)),
      display(std::make_unique<Display>(this->environment.display)) {}

LinuxPermissions::~LinuxPermissions() = default;

bool LinuxPermissions::preflightScreenCaptureAccess() {
  return display->access().canRead;
}

bool LinuxPermissions::requestScreenCaptureAccess() {
  if (preflightScreenCaptureAccess()) return true;
  process.writeToStandardError(missingDisplayAdvice(environment, display->access().isXwayland));
  return false;
}

bool LinuxPermissions::isProcessTrusted() {
  return display->access().canInject;
}

bool LinuxPermissions::isProcessTrustedWithOptions(bool prompt) {
  const auto access = display->access();
  if (access.canInject || !prompt) return access.canInject;
  process.writeToStandardError(access.canRead
                                   ? "The X display " + environment.display +
                                         " takes no remote input: its server has no XTEST "
                                         "extension. Enable that extension.\n"
                                   : missingDisplayAdvice(environment, access.isXwayland));
  return false;
}

bool LinuxPermissions::areKnown() {
  return display->hasAnswered();
}

std::optional<std::string> LinuxPermissions::copyComputerName() {
  return computerName(environment.machineInfoPath);
}

}  // namespace quorvin
