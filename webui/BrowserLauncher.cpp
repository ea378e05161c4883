#include "webui/BrowserLauncher.h"

#include <gio/gio.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cstdlib>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"
#include "webui/HiddenBrowser.h"

namespace quorvin::webui {
namespace {

void finish(GObject* browser, GAsyncResult* result, gpointer loop) {
  g_app_info_launch_uris_finish(G_APP_INFO(browser), result, nullptr);
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
}

// Opens the file in the desktop's browser, unless the environment says QUORVIN_WEBUI_OPEN=0 or the
// desktop has none. Waits until that is done; a failure is nobody's concern, as the address has
// been printed for the user to open.
void openInBrowser(const std::string& file) {
  if (environmentVariable("QUORVIN_WEBUI_OPEN") == "0") return;
  // Files of that kind may belong to an editor.
  const GlibPtr<GAppInfo> browser(g_app_info_get_default_for_uri_scheme("http"));
  const GlibPtr<char> uri(g_filename_to_uri(file.c_str(), nullptr, nullptr));
  if (!browser || !uri) return;
  // One that is started over D-Bus takes a message and its answer.
  const GlibPtr<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
  GList uris{uri.get(), nullptr, nullptr};
  g_app_info_launch_uris_async(browser.get(), &uris, nullptr, nullptr, finish, loop.get());
  g_main_loop_run(loop.get());
}

constexpr std::size_t pageBytesMax = 4096;
constexpr char onDesktop = 'o';
constexpr char hidden = 'h';

[[noreturn]] void carryOut(const FileDescriptor& orders) {
  std::array<char, pageBytesMax> page{};
  const auto size = ::recv(orders.get(), page.data(), page.size(), 0);
  char word = 0;
  if (size > 0 && ::recv(orders.get(), &word, sizeof word, 0) > 0) {
    const std::string file(page.data(), static_cast<std::size_t>(size));
    if (word == hidden) {
      runHiddenBrowser(file, orders);
    } else {
      openInBrowser(file);
    }
  }
  ::_exit(EXIT_SUCCESS);
}

}  // namespace

BrowserLauncher::BrowserLauncher(const FileDescriptor& link) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return;
  orders = FileDescriptor(ends[0]);
  const FileDescriptor taken(ends[1]);
  const pid_t child = ::fork();
  if (child == 0) {
    // A child of a child is not this process' to wait for.
    if (::fork() != 0) ::_exit(EXIT_SUCCESS);
    ::close(link.get());
    orders.reset();
    carryOut(taken);
  }
  if (child > 0) ::waitpid(child, nullptr, 0);
}

void BrowserLauncher::setPage(const std::string& page) {
  static_cast<void>(::send(orders.get(), page.data(), page.size(), MSG_NOSIGNAL));
}

void BrowserLauncher::open() {
  static_cast<void>(::send(orders.get(), &onDesktop, 1, MSG_NOSIGNAL));
}

void BrowserLauncher::openHidden() {
  static_cast<void>(::send(orders.get(), &hidden, 1, MSG_NOSIGNAL));
}

}  // namespace quorvin::webui
