#include "webui/WebSocket.h"

#include <sys/socket.h>
#include <wslay/wslay.h>

#include <cerrno>
#include <chrono>
#include <new>
#include <utility>

namespace quorvin::webui {

namespace {

// So many before other sources of the main loop get their turn.
constexpr int readsPerTurn = 16;

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// What the library is told of a call that moved no byte.
ssize_t failed(wslay_event_context* context, int error) {
  const bool again = error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
  wslay_event_set_error(context, again ? WSLAY_ERR_WOULDBLOCK : WSLAY_ERR_CALLBACK_FAILURE);
  return -1;
}

}  // namespace

// What the library calls. An exception has no way through its C frames, hence noexcept.
struct WebSocket::Library {
  static ssize_t receive(wslay_event_context* context, std::uint8_t* bytes, std::size_t room,
                         int /*flags*/, void* self) noexcept {
    auto& socket = *static_cast<WebSocket*>(self);
    if (socket.readsLeft == 0) return failed(context, EAGAIN);
    const auto count = recv(socket.descriptor, bytes, room, MSG_DONTWAIT);
    if (count <= 0) return failed(context, count == 0 ? ECONNRESET : errno);
    // The main loop says when there is more than this.
    socket.readsLeft = static_cast<std::size_t>(count) < room ? 0 : socket.readsLeft - 1;
    return count;
  }

  static ssize_t send(wslay_event_context* context, const std::uint8_t* bytes, std::size_t size,
                      int flags, void* self) noexcept {
    const int more = (flags & WSLAY_MSG_MORE) != 0 ? MSG_MORE : 0;
    const auto count = ::send(static_cast<WebSocket*>(self)->descriptor, bytes, size,
                              MSG_DONTWAIT | MSG_NOSIGNAL | more);
    return count >= 0 ? count : failed(context, errno);
  }

  static void onFrame(wslay_event_context* /*context*/,
                      const wslay_event_on_frame_recv_start_arg* /*frame*/, void* self) noexcept {
    auto& socket = *static_cast<WebSocket*>(self);
    if (++socket.frames > socket.bounds.framesMax) {
      socket.close(CloseCode::policyViolation, "too many messages");
    }
  }

  static void onMessage(wslay_event_context* /*context*/,
                        const wslay_event_on_msg_recv_arg* message, void* self) noexcept {
    const auto& socket = *static_cast<WebSocket*>(self);
    if (!socket.open) return;
    if (message->opcode == WSLAY_BINARY_FRAME) socket.handlers.onBinary();
    if (message->opcode != WSLAY_TEXT_FRAME) return;
    socket.handlers.onText({reinterpret_cast<const char*>(message->msg), message->msg_length});
  }
};

void WebSocket::Release::operator()(wslay_event_context* released) const {
  wslay_event_context_free(released);
}

WebSocket::WebSocket(GlibPtr<GIOStream> stream, int descriptor, const Bounds& bounds)
    : stream(std::move(stream)), descriptor(descriptor), bounds(bounds) {
  const wslay_event_callbacks callbacks{&Library::receive,  &Library::send, nullptr,
                                        &Library::onFrame,  nullptr,        nullptr,
                                        &Library::onMessage};
  wslay_event_context* made = nullptr;
  if (wslay_event_context_server_init(&made, &callbacks, this) != 0) throw std::bad_alloc();
  context.reset(made);
  wslay_event_config_set_max_recv_msg_length(made, bounds.messageBytesMax);
}

WebSocket::~WebSocket() {
  close(CloseCode::goingAway, "");
}

void WebSocket::listen(Handlers given) {
  handlers = std::move(given);
  readable = MainLoopSource::onDescriptor(nullptr, descriptor, G_IO_IN,
                                          MainLoopSource::whileTrue([this] { return read(); }));
}

void WebSocket::sendText(std::string_view text) {
  send(WSLAY_TEXT_FRAME, bytesOf(text));
}

void WebSocket::sendBinary(std::span<const std::uint8_t> bytes) {
  send(WSLAY_BINARY_FRAME, bytes);
}

void WebSocket::send(std::uint8_t opcode, std::span<const std::uint8_t> payload) {
  if (!open) return;
  const wslay_event_msg message{opcode, payload.data(), payload.size()};
  if (wslay_event_queue_msg(context.get(), &message) != 0) return endSoon();
  flush();
}

void WebSocket::close(CloseCode code, std::string_view why) {
  if (!open) return;
  wslay_event_shutdown_read(context.get());
  wslay_event_queue_close(context.get(), static_cast<std::uint16_t>(code), bytesOf(why).data(),
                          why.size());
  flush();
  endSoon();
}

bool WebSocket::read() {
  readsLeft = readsPerTurn;
  const bool sound = wslay_event_recv(context.get()) == 0;
  flush();
  if (sound && wslay_event_get_read_enabled(context.get()) != 0) return true;
  end();
  return false;
}

void WebSocket::flush() {
  if (writable.isActive() || !write()) return;
  writable = MainLoopSource::onDescriptor(nullptr, descriptor, G_IO_OUT,
                                          MainLoopSource::whileTrue([this] { return write(); }));
}

// Returns whether there is more to write once the socket takes it.
bool WebSocket::write() {
  if (wslay_event_send(context.get()) != 0) endSoon();
  return open && wslay_event_want_write(context.get()) != 0;
}

void WebSocket::end() {
  open = false;
  readable.cancel();
  writable.cancel();
  pendingEnd.cancel();
  // Called from a copy, as the call may destroy this and its handlers.
  const auto onClosed = std::exchange(handlers.onClosed, {});
  if (onClosed) onClosed();
}

// The reason of an end has gone out by now or waits behind what the other side does not read.
void WebSocket::endSoon() {
  open = false;
  if (pendingEnd.isActive()) return;
  pendingEnd = MainLoopSource::onTimeout(nullptr, std::chrono::milliseconds(0),
                                         MainLoopSource::once([this] { end(); }));
}

}  // namespace quorvin::webui
