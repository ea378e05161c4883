#pragma once

#include <gio/gio.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"

struct wslay_event_context;

namespace quorvin::webui {

// The server's end of a WebSocket (RFC 6455) whose handshake is done: one message in, one out.
// Pings and the other side's end are answered here. On the main loop's thread. Sending never
// blocks: what the system does not take at once waits.
class WebSocket {
 public:
  enum class CloseCode : std::uint16_t { goingAway = 1001, policyViolation = 1008 };  // 7.4.1

  struct Handlers {
    std::function<void(std::string_view)> onText;  // does not destroy this, nor does the next
    std::function<void()> onBinary;
    // Nothing comes and nothing goes any more. Called once, last of all, and never from within a
    // call of this class, which it may destroy.
    std::function<void()> onClosed;
  };

  // What comes in, at most.
  struct Bounds {
    std::size_t messageBytesMax;
    std::size_t framesMax;  // between two calls of `forgetFrames`; some are answered here
  };

  // `stream` is held until the end, and `descriptor` is its TCP socket.
  WebSocket(GlibPtr<GIOStream> stream, int descriptor, const Bounds& bounds);
  WebSocket(const WebSocket&) = delete;
  WebSocket& operator=(const WebSocket&) = delete;
  // Says that this side goes away, unless it has closed.
  ~WebSocket();

  // To be called once; nothing is read before.
  void listen(Handlers given);

  // From `close` on these do nothing.
  void sendText(std::string_view text);
  void sendBinary(std::span<const std::uint8_t> bytes);
  // `why` is for whoever looks into the other side: at most 123 bytes.
  void close(CloseCode code, std::string_view why);

  [[nodiscard]] bool isOpen() const { return open; }
  void forgetFrames() { frames = 0; }

 private:
  struct Library;
  struct Release {
    void operator()(wslay_event_context* released) const;
  };

  void send(std::uint8_t opcode, std::span<const std::uint8_t> payload);
  bool read();
  void flush();
  bool write();
  void end();
  void endSoon();

  GlibPtr<GIOStream> stream;
  int descriptor;
  Bounds bounds;
  Handlers handlers;
  std::unique_ptr<wslay_event_context, Release> context;
  bool open = true;
  std::size_t frames = 0;
  int readsLeft = 0;  // in this turn of the main loop
  MainLoopSource readable;
  MainLoopSource writable;
  MainLoopSource pendingEnd;
};

}  // namespace quorvin::webui
