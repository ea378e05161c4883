#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/TemporaryFolder.h"
#include "tests/e2e/link/HostProcess.h"
#include "tests/e2e/link/JpegHeader.h"
#include "tests/e2e/link/LinkClient.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {

// A connected pair of stream sockets.
[[nodiscard]] std::pair<FileDescriptor, FileDescriptor> makeLinkPair();

// An X server with a screen of its own and a home for hosts that are to use it.
class HostHarness {
 public:
  static constexpr JpegSize screenSize{800, 600};

  explicit HostHarness(JpegSize screen = screenSize);

  // The host's environment: this screen, this home, no session bus, nothing of the user's.
  [[nodiscard]] std::vector<std::string> environment() const;
  // The real host with this end of a UI link.
  [[nodiscard]] std::unique_ptr<HostProcess> startHost(FileDescriptor link,
                                                       std::vector<std::string> arguments = {},
                                                       std::string program = QUORVIN_HOST);

  // Lets the account's hosts run unattended, under that name.
  void enableUnattendedAccess(const std::string& deviceName) const;

  TemporaryFolder home;
  XServer server;
};

// A started host and the user interface that it is connected to.
class ConnectedHost {
 public:
  explicit ConnectedHost(HostHarness& harness, std::vector<std::string> arguments = {},
                         std::string program = QUORVIN_HOST);

  // Allows sharing and starts it; whether the host agreed.
  bool startCapture();
  // The next event, if it is a whole JPEG file: its size.
  std::optional<JpegSize> nextFrame(LinkClient::Milliseconds within = LinkClient::timeout);

  std::unique_ptr<LinkClient> client;
  std::unique_ptr<HostProcess> process;
};

// A whole set of valid stream settings, for frames of at most this size.
[[nodiscard]] Map streamSettings(int maxWidth, int maxHeight, const char* codec = "jpeg");

}  // namespace quorvin
