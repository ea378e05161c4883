#include "tests/e2e/link/HostHarness.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace quorvin {
namespace {

std::string withSuppressions(const char* name, const std::string& options) {
  const char* given = std::getenv(name);
  return std::string(name) + "=" + (given == nullptr ? "" : std::string(given) + ":") + options;
}

}  // namespace

std::pair<FileDescriptor, FileDescriptor> makeLinkPair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

HostHarness::HostHarness(JpegSize screen)
    : server({"-screen", "0",
              std::to_string(screen.widthPx) + "x" + std::to_string(screen.heightPx) + "x24",
              "-noreset"}) {}

std::vector<std::string> HostHarness::environment() const {
  return {"PATH=/usr/bin:/bin", "DISPLAY=" + server.display(), "HOME=" + home.path().string(),
          "XDG_CONFIG_HOME=" + (home.path() / "config").string(),
          "DBUS_SESSION_BUS_ADDRESS=disabled:", "NO_AT_BRIDGE=1", "GSETTINGS_BACKEND=memory",
          withSuppressions("LSAN_OPTIONS",
                           "print_suppressions=0:suppressions=" QUORVIN_LSAN_SUPPRESSIONS),
          // What the sanitizer keeps back of freed memory would count as the host's.
          withSuppressions("ASAN_OPTIONS",
                           "fast_unwind_on_malloc=0:quarantine_size_mb=4:"
                           "allocator_release_to_os_interval_ms=100")};
}

std::unique_ptr<HostProcess> HostHarness::startHost(FileDescriptor link,
                                                    std::vector<std::string> arguments,
                                                    std::string program) {
  auto variables = environment();
  variables.emplace_back("QUORVIN_UI_FD=3");
  return std::make_unique<HostProcess>(HostProcess::Launch{.program = std::move(program),
                                                           .arguments = std::move(arguments),
                                                           .environment = std::move(variables),
                                                           .link = std::move(link)});
}

void HostHarness::enableUnattendedAccess(const std::string& deviceName) const {
  const auto folder = home.path() / "config" / "com.quorvin.support";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "defaults.ini") << "[defaults]\nunattendedAccessEnabled=true\n"
                                            "unattendedAccessDeviceName="
                                         << deviceName << "\n";
}

ConnectedHost::ConnectedHost(HostHarness& harness, std::vector<std::string> arguments,
                             std::string program) {
  auto [ownEnd, hostsEnd] = makeLinkPair();
  client = std::make_unique<LinkClient>(std::move(ownEnd));
  process = harness.startHost(std::move(hostsEnd), std::move(arguments), std::move(program));
}

bool ConnectedHost::startCapture() {
  return client->call("startCapture", Map{{"locallyAuthorized", true}}) == FlutterReply(Value());
}

std::optional<JpegSize> ConnectedHost::nextFrame(LinkClient::Milliseconds within) {
  const auto event = client->nextEvent(within);
  const auto* value = event ? std::get_if<Value>(&*event) : nullptr;
  const auto* data = value == nullptr ? nullptr : value->as<Data>();
  return data == nullptr ? std::nullopt : jpegSize(data->bytes());
}

Map streamSettings(int maxWidth, int maxHeight, const char* codec) {
  return {{"profile", "balanced"}, {"show_cursor", true},     {"codec", codec},
          {"max_width", maxWidth}, {"max_height", maxHeight}, {"fps", 30},
          {"bitrate_mbps", 8},     {"jpeg_quality", 80},      {"queue_depth", 3}};
}

}  // namespace quorvin
