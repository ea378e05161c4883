#pragma once

#include <libsoup/soup.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/unix/FileDescriptor.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin::webui {

// Lets connections in to a server on the loopback interface: a few dozen at a time, each for one
// request and for seconds only. Request lines are read here, so that the server never sees a byte
// of whoever does not know what to ask for. These strangers make room for others, the oldest first:
// they can neither take up the places nor the descriptors of the program. On the main loop's
// thread.
class FrontDoor {
 public:
  static constexpr std::uint16_t firstPort = 8765;
  static constexpr std::size_t connectionsMax = 40;
  // From the connection to the end of the answer.
  static constexpr std::chrono::milliseconds requestTimeMax{10'000};

  struct Rules {
    // Whether there is something behind a request's target, exactly as it was sent.
    std::function<bool(std::string_view)> serves;
    // What others are told: a whole answer.
    std::string refusal;
    std::chrono::milliseconds timeMax = requestTimeMax;
  };

  // Listens on the first free port from `firstPort` on. Throws std::runtime_error when there is
  // none within reach.
  explicit FrontDoor(SoupServer* server);
  ~FrontDoor();

  [[nodiscard]] std::uint16_t port() const { return listeningPort; }
  void open(Rules rules);
  // The connection of this request may stay for as long as both sides like. Returns its socket; -1
  // when the connection has gone.
  int letStay(SoupServerMessage* message);

 private:
  using Number = std::uint64_t;  // in the order of arrival
  struct Guest {
    FileDescriptor socket;  // while its request line is awaited
    MainLoopSource readable;
    std::size_t seen = 0;
    GSocketConnection* stream = nullptr;  // the server's; goes when the connection has ended
    GlibPtr<GSocketAddress> address;
    MainLoopSource deadline;
  };

  static void onStreamGone(gpointer self, GObject* stream);
  void awaitGuests();
  bool accept();
  bool makeRoom();
  void admit(FileDescriptor socket);
  bool turnOutOldestStranger();
  void turnOut(Number number);
  bool readRequestLine(Number number);
  bool decide(Number number, std::string_view line);
  void handOver(Number number);

  SoupServer* server;
  Rules rules;
  std::uint16_t listeningPort = 0;
  FileDescriptor listener;
  std::map<Number, Guest> guests;
  Number lastNumber = 0;
  MainLoopSource arrivals;
  MainLoopSource pause;
};

}  // namespace quorvin::webui
