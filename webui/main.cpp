#include <glib.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"
#include "platform/unix/ProgramStart.h"
#include "webui/AddressFile.h"
#include "webui/BrowserLauncher.h"
#include "webui/Confinement.h"
#include "webui/HiddenBrowser.h"
#include "webui/SessionHub.h"
#include "webui/SystemFacts.h"
#include "webui/WebServer.h"
#include "webui/remote/DeviceLinkFile.h"
#include "webui/remote/Notifier.h"
#include "webui/remote/RemoteConfig.h"
#include "webui/remote/RemoteSupport.h"
#include "webui/remote/SessionLog.h"
#include "webui/remote/SignallingLink.h"

// The user interface's stand-in on Linux: a page in the user's own browser, served from this
// program, which the host starts with one end of the UI link.

namespace {

using quorvin::FileDescriptor;
using quorvin::MainLoopSource;
using namespace quorvin::webui;

// After an interrupt from the terminal, which reaches the host as well, the host may take this
// long to end in its own order.
constexpr std::chrono::seconds interruptTimeout{3};

// GLib's, and those that it and libsoup may have at work at the same time.
constexpr std::size_t threadsToStartWith = 4;

FileDescriptor takeLink() {
  const auto number = quorvin::environmentVariable(quorvin::uiDescriptorVariable);
  if (number.empty()) {
    throw std::runtime_error(std::string(quorvin::uiDescriptorVariable) +
                             " is not set; start quorvin-support, which starts this program");
  }
  // Neither the link nor its number is for the browser that this program may start.
  unsetenv(quorvin::uiDescriptorVariable);
  return quorvin::takeInheritedUiSocket(number);
}

void announce(const std::string& address) {
  std::printf("Quorvin Support: open %s in a browser\n", address.c_str());
  std::fflush(stdout);
}

void fillRandomly(std::span<std::uint8_t> bytes) {
  randombytes_buf(bytes.data(), bytes.size());
}

std::string settingsFolder() {
  return g_get_user_config_dir() + std::string("/com.quorvin.support");
}

struct Remote {
  std::optional<RemoteConfig> config;
  std::unique_ptr<Signalling> signalling;  // if there is a config
  std::string problem;
};

// What is wrong with it keeps nobody on this computer from anything.
Remote startRemote() {
  const auto program =
      std::filesystem::read_symlink("/proc/self/exe").replace_filename("quorvin-signalling");
  try {
    auto config = readRemoteConfig();
    if (!config) return {};
    auto signalling =
        std::make_unique<SignallingLink>(startSignalling(program, *config), fillRandomly);
    return {std::move(config), std::move(signalling), {}};
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvin-webui: no supporter on another computer: %s\n", error.what());
    return {{}, {}, error.what()};
  }
}

// While files can still be made. Null without a broker.
std::unique_ptr<DeviceLinkFile> prepareDeviceLink(const Remote& remote) {
  if (!remote.config) return nullptr;
  try {
    return std::make_unique<DeviceLinkFile>(settingsFolder(), fillRandomly);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvin-webui: no device link in %s: %s\n", settingsFolder().c_str(),
                 error.what());
    return nullptr;
  }
}

void open(RemoteSupport& support, const DeviceLinkFile& file) {
  try {
    support.openTo(file.read());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvin-webui: %s\n", error.what());
  }
}

// Returns the exit status.
int printDeviceLink(bool isNew) {
  const auto config = readRemoteConfig();
  if (!config) {
    throw std::runtime_error("no broker is set; write " + settingsFolder() +
                             "/remote.json first (docs/remote.md)");
  }
  const DeviceLinkFile file(settingsFolder(), fillRandomly);
  if (isNew) file.replace();
  const Invitation device(fillRandomly, file.read());
  std::printf("%s\n", device.link(config->page).c_str());
  if (hasHiddenBrowser()) return 0;
  std::fprintf(stderr, "quorvin-webui: the link opens nothing until Chromium is installed here\n");
  return 0;
}

// Returns the exit status.
int printReport() {
  SystemFacts facts({});
  const quorvin::GlibPtr<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
  facts.whenKnown([&](const std::string& found) {
    std::printf("%sPermissions and errors: in the report on the page of a running program\n",
                found.c_str());
    g_main_loop_quit(loop.get());
  });
  g_main_loop_run(loop.get());
  return 0;
}

// Whatever a report must not tell, but for the host's own names.
void hideNames(Report& report) {
  for (const char* name :
       {g_get_host_name(), g_get_user_name(), g_get_real_name(), g_get_home_dir()}) {
    report.hide(name);
  }
}

// Returns the exit status.
int serve(FileDescriptor link) {
  SystemFacts facts(link);
  BrowserLauncher browser(link);
  const auto remote = startRemote();
  const auto deviceLink = prepareDeviceLink(remote);
  const quorvin::GlibPtr<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
  const auto quit = [&] {
    g_main_loop_quit(loop.get());
  };

  int status = 0;
  SessionHub hub(std::move(link), [&](const std::string& reason) {
    if (!reason.empty()) {
      std::fprintf(stderr, "quorvin-webui: the link to the host failed: %s\n", reason.c_str());
      status = 1;
    }
    quit();
  });
  hideNames(hub.report());
  if (!remote.problem.empty()) hub.report().add("remote", remote.problem);
  facts.whenKnown([&](const std::string& found) { hub.report().setSystem(found); });
  // Without a broker nothing happens that would have to be told or kept.
  std::optional<RemoteSupport> support;
  SessionLog log(remote.config ? g_get_user_state_dir() + std::string("/com.quorvin.support") : "",
                 [] { return std::time(nullptr); });
  const NotifierProcess notifier(remote.config ? sessionBusAddress() : "",
                                 [&] { support->stopAll(); });
  support.emplace(RemoteSupport::Outside{hub, remote.signalling.get(), log,
                                         [&](const std::string& title, const std::string& text) {
                                           notifier.show(title, text);
                                         },
                                         fillRandomly, std::chrono::steady_clock::now},
                  remote.config, remote.problem);
  const WebServer server([&](std::unique_ptr<WebSocket> socket,
                             const PageOwner& owner) { hub.addPage(std::move(socket), owner); },
                         remote.config ? remote.config->page : "");
  const auto address = server.access().address(PageRole::customer);

  MainLoopSource endTimer;
  const auto interrupts = MainLoopSource::onSignal(nullptr, SIGINT, [&] {
    if (endTimer.isActive()) quit();
    endTimer = MainLoopSource::onTimeout(nullptr, interruptTimeout, MainLoopSource::once(quit));
    return MainLoopSource::Next::again;
  });
  const auto endOnRequest = [&] {
    quit();
    return MainLoopSource::Next::again;
  };
  const auto terminations = MainLoopSource::onSignal(nullptr, SIGTERM, endOnRequest);
  const auto hangUps = MainLoopSource::onSignal(nullptr, SIGHUP, endOnRequest);

  const AddressFile file(server.port(), address);
  announce(address);
  browser.setPage(file.path());
  // Nothing that a stranger says is read before this.
  if constexpr (QUORVIN_CONFINED) confine();
  // At a login nobody asked for a browser window.
  hub.askWhetherUnattended([&](bool unattended) {
    if (unattended && deviceLink) {
      open(*support, *deviceLink);
      deviceLink->watch([&] { open(*support, *deviceLink); });
      return browser.openHidden();
    }
    if (!unattended) browser.open();
    browser.end();
  });
  g_main_loop_run(loop.get());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  quorvin::prepareProcess();
  const std::string_view order = argc == 2 ? argv[1] : "";
  if (quorvin::printVersion(order)) return 0;
  try {
    if (order == "--device-link" || order == "--new-device-link") {
      return printDeviceLink(order == "--new-device-link");
    }
    if (order == "--report") return printReport();
    quorvin::requireThreads(threadsToStartWith);
    return serve(takeLink());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvin-webui: %s\n", error.what());
    return 1;
  }
}
