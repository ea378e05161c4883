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
class HostStand {
 public:
  static constexpr JpegSize screenSize{800, 600};

  explicit HostStand(JpegSize screen = screenSize);

  // The host's environment: this screen, this home, no session bus, nothing of the user's.
  [[nodiscard]] std::vector<std::string> environment() const;
  // The real host with this end of a UI link.
  [[nodiscard]] std::unique_ptr<HostProcess> startHost(FileDescriptor link,
                                                       std::vector<std::string> arguments = {});

  // Lets the account's hosts run unattended, under that name.
  void enableUnattendedAccess(const std::string& deviceName) const;

  TemporaryFolder home;
  XServer server;
};

// A started host and the user interface that it is connected to.
class ConnectedHost {
 public:
  explicit ConnectedHost(HostStand& stand, std::vector<std::string> arguments = {});

  // Allows sharing and starts it; whether the host agreed.
  bool startCapture();
  // The next event, if it is a whole JPEG file: its size.
  std::optional<JpegSize> nextPicture(LinkClient::Milliseconds within = LinkClient::patience);

  std::unique_ptr<LinkClient> client;
  std::unique_ptr<HostProcess> process;
};

// A whole set of valid picture settings, for pictures of at most this size.
[[nodiscard]] Map pictureSettings(int maxWidth, int maxHeight);

}  // namespace quorvin
