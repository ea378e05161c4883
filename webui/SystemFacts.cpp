#include "webui/SystemFacts.h"

#include <glib.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin::webui {
namespace {

constexpr unsigned secondsMax = 10;
constexpr std::size_t factsMax = 4096;

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

void tell(int where, const std::string& line) {
  static_cast<void>(::send(where, (line + "\n").data(), line.size() + 1, MSG_NOSIGNAL));
}

std::string kernel() {
  utsname name{};
  if (::uname(&name) != 0) return "not known";
  return std::string(name.sysname) + " " + name.release + " " + name.machine;
}

std::string distribution() {
  const GlibPtr<char> name(g_get_os_info(G_OS_INFO_KEY_PRETTY_NAME));
  return name ? name.get() : "not known";
}

std::string kindOfSession() {
  const auto type = environmentVariable("XDG_SESSION_TYPE");
  const bool isKnown = type == "x11" || type == "wayland" || type == "tty";
  return (isKnown ? type : "not known") +
         (environmentVariable("WAYLAND_DISPLAY").empty() ? "" : ", with a Wayland display");
}

bool has(xcb_connection_t* server, std::string_view extension) {
  const auto asked =
      xcb_query_extension(server, static_cast<std::uint16_t>(extension.size()), extension.data());
  const std::unique_ptr<xcb_query_extension_reply_t, Free> reply(
      xcb_query_extension_reply(server, asked, nullptr));
  return reply && reply->present != 0;
}

void tellOfDisplay(int where) {
  const std::unique_ptr<xcb_connection_t, Disconnect> server(xcb_connect(nullptr, nullptr));
  if (xcb_connection_has_error(server.get()) != 0) return tell(where, "X server: not reached");
  const auto* setup = xcb_get_setup(server.get());
  const std::string_view vendor(xcb_setup_vendor(setup),
                                static_cast<std::size_t>(xcb_setup_vendor_length(setup)));
  tell(where,
       "X server: " + std::string(vendor) + ", release " + std::to_string(setup->release_number));
  std::string extensions = "X extensions:";
  for (const char* name : {"XTEST", "DAMAGE", "XFIXES", "MIT-SHM", "RANDR"}) {
    extensions += std::string(" ") + name + (has(server.get(), name) ? " yes" : " no");
  }
  tell(where, extensions);
}

[[noreturn]] void findOut(int where) {
  std::signal(SIGALRM, SIG_DFL);
  ::alarm(secondsMax);
  tell(where, std::string("Program: Quorvin Support ") + programVersion());
  tell(where, "Kernel: " + kernel());
  tell(where, "Distribution: " + distribution());
  tell(where, "Session: " + kindOfSession());
  tellOfDisplay(where);
  ::_exit(EXIT_SUCCESS);
}

}  // namespace

SystemFacts::SystemFacts(const FileDescriptor& link) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  answer = FileDescriptor(ends[0]);
  const FileDescriptor others(ends[1]);
  const pid_t child = ::fork();
  if (child == 0) {
    // A child of a child is not this process' to wait for.
    if (::fork() != 0) ::_exit(EXIT_SUCCESS);
    // Whoever waits for the end of one of these does not wait for this process.
    for (const int inherited : {link.get(), STDOUT_FILENO, STDERR_FILENO}) ::close(inherited);
    findOut(others.get());
  }
  if (child > 0) ::waitpid(child, nullptr, 0);
}

void SystemFacts::whenKnown(std::function<void(const std::string&)> handler) {
  reading = MainLoopSource::onDescriptor(
      nullptr, answer.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP),
      [this, handler = std::move(handler)] {
        std::array<char, factsMax> bytes{};
        const auto size = ::recv(answer.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (size > 0 && facts.size() < factsMax) {
          facts.append(bytes.data(), static_cast<std::size_t>(size));
          return MainLoopSource::Next::again;
        }
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) return MainLoopSource::Next::again;
        handler(facts);
        return MainLoopSource::Next::finished;
      });
}

}  // namespace quorvin::webui
