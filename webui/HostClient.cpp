#include "webui/HostClient.h"

#include <glib-unix.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "platform/flutter/StandardCodec.h"

namespace quorvin::webui {

namespace {

constexpr std::string_view hostChannel = "com.quorvin.support/host";
constexpr std::string_view framesChannel = "com.quorvin.support/frames";

// Most frames fit.
constexpr std::size_t readSize = std::size_t{512} * 1024;
// So many reads before other sources of the main loop get their turn.
constexpr int readsPerTurnMax = 16;
// A host that stops reading must not make this program grow without end.
constexpr std::size_t queuedBytesMax = std::size_t{64} * 1024 * 1024;

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

std::string describe(int error) {
  return std::generic_category().message(error);
}

FlutterReply replyFrom(const LinkFrame& frame) {
  if (frame.type == LinkFrameType::emptyReply) return FlutterMethodNotImplemented{};
  try {
    auto envelope = decodeEnvelope(frame.payload.bytes());
    if (auto* error = std::get_if<FlutterError>(&envelope)) return std::move(*error);
    return std::get<Value>(std::move(envelope));
  } catch (const CodecError&) {
    return FlutterError{"bad_reply", "The host's answer could not be read.", {}};
  }
}

}  // namespace

HostClient::HostClient(FileDescriptor linkSocket, Handlers givenHandlers)
    : socket(std::move(linkSocket)), handlers(std::move(givenHandlers)) {
  g_unix_set_fd_nonblocking(socket.get(), TRUE, nullptr);
  readable = MainLoopSource::onDescriptor(nullptr, socket.get(), G_IO_IN,
                                          MainLoopSource::whileTrue([this] { return read(); }));
}

void HostClient::call(const FlutterMethodCall& call, FlutterResult onReply) {
  request(hostChannel, call, std::move(onReply));
}

void HostClient::listen(std::function<void(bool)> onReply) {
  request(framesChannel, {"listen", {}}, [onReply = std::move(onReply)](const FlutterReply& reply) {
    onReply(std::holds_alternative<Value>(reply));
  });
}

void HostClient::cancel() {
  request(framesChannel, {"cancel", {}}, [](const FlutterReply&) {});
}

void HostClient::request(std::string_view channel, const FlutterMethodCall& call,
                         FlutterResult onReply) {
  if (!open) return;
  const LinkFrame message{LinkFrameType::message, unusedId(), std::string(channel),
                          Data(encodeMethodCall(call))};
  unanswered.emplace(message.id, std::move(onReply));
  enqueue(message);
}

std::uint32_t HostClient::unusedId() {
  do {
    ++lastId;
  } while (lastId == 0 || unanswered.contains(lastId));
  return lastId;
}

bool HostClient::read() {
  for (int reads = 0; open && reads < readsPerTurnMax; ++reads) {
    const auto room = reader.room(readSize);
    const auto count = recv(socket.get(), room.data(), room.size(), MSG_DONTWAIT);
    if (count < 0 && wouldBlock(errno)) break;
    if (count <= 0) {
      // A host that dies with messages of ours unread resets the connection: an end like another.
      closeLink(count == 0 || errno == ECONNRESET ? "" : describe(errno));
      break;
    }
    reader.received(static_cast<std::size_t>(count));
    if (!handleReadBytes() || static_cast<std::size_t>(count) < room.size()) break;
  }
  return open;
}

bool HostClient::handleReadBytes() {
  try {
    while (auto frame = reader.next()) {
      handleFrame(*frame);
      if (!open) return false;
    }
  } catch (const LinkError& error) {
    closeLink(error.what());
  }
  return open;
}

void HostClient::handleFrame(const LinkFrame& frame) {
  if (frame.type != LinkFrameType::message) return handleReply(frame);
  // This user interface answers nothing; a sender that wants a reply is told so at once.
  if (frame.id != 0) enqueue({LinkFrameType::emptyReply, frame.id, {}, {}});
  // Everything else that the host sends (the window's life cycle) concerns no page.
  if (frame.channel == framesChannel && !frame.payload.empty()) {
    handleEvent(frame.payload);
  }
}

void HostClient::handleReply(const LinkFrame& reply) {
  const auto waiting = unanswered.find(reply.id);
  if (waiting == unanswered.end()) throw LinkError("a reply to a message that was never sent");
  const auto onReply = std::move(waiting->second);
  unanswered.erase(waiting);
  onReply(replyFrom(reply));
}

void HostClient::handleEvent(const Data& payload) const {
  try {
    const auto event = decodeSharedEnvelope(payload);
    if (const auto* error = std::get_if<FlutterError>(&event)) {
      handlers.onStreamError(*error);
    } else if (const auto* frame = std::get<Value>(event).as<Data>()) {
      handlers.onFrame(*frame);
    }
  } catch (const CodecError&) {
    // What this program cannot read it cannot show; the next event may be fine.
    return;
  }
}

void HostClient::enqueue(const LinkFrame& frame) {
  auto bytes = encodeLinkFrame(frame);
  queuedBytes += bytes.size();
  if (queuedBytes > queuedBytesMax) {
    closeSoon("the host stopped reading");
    return;
  }
  writeQueue.push_back(std::move(bytes));
  if (!writable.isActive() && write()) {
    writable = MainLoopSource::onDescriptor(nullptr, socket.get(), G_IO_OUT,
                                            MainLoopSource::whileTrue([this] { return write(); }));
  }
}

// Returns whether there is more to write once the socket takes it.
bool HostClient::write() {
  while (open && !writeQueue.empty()) {
    const auto rest = std::span(writeQueue.front()).subspan(writtenOfFirst);
    const auto count = send(socket.get(), rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && wouldBlock(errno)) return true;
    if (count < 0) {
      closeSoon(errno == EPIPE || errno == ECONNRESET ? "" : describe(errno));
      return false;
    }
    writtenOfFirst += static_cast<std::size_t>(count);
    queuedBytes -= static_cast<std::size_t>(count);
    if (writtenOfFirst < writeQueue.front().size()) continue;
    writeQueue.pop_front();
    writtenOfFirst = 0;
  }
  return false;
}

void HostClient::closeLink(const std::string& reason) {
  if (!open) return;
  open = false;
  readable.cancel();
  writable.cancel();
  pendingClose.cancel();
  unanswered.clear();
  writeQueue.clear();
  handlers.onClosed(reason);
}

// Closing from within a request would call back into whoever is making it.
void HostClient::closeSoon(const std::string& reason) {
  if (!open || pendingClose.isActive()) return;
  pendingClose =
      MainLoopSource::onTimeout(nullptr, std::chrono::milliseconds(0),
                                MainLoopSource::once([this, reason] { closeLink(reason); }));
}

}  // namespace quorvin::webui
