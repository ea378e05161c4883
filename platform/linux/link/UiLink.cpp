#include "platform/linux/link/UiLink.h"

#include <sys/socket.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <utility>

namespace quorvin {

namespace {

constexpr int messagesPerTurn = 64;
constexpr std::size_t bytesReadPerTurn = std::size_t{1} * 1024 * 1024;
constexpr std::size_t bytesWrittenPerTurn = std::size_t{1} * 1024 * 1024;

// Who used up a turn's ration reads on when nothing else is ready any more, so that everything else
// gets its turn whatever comes in.
constexpr int afterEverythingElse = G_PRIORITY_DEFAULT_IDLE;

bool isTemporary(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

bool MessageQueue::pushMessage(Bytes frame) {
  if (frame.size() > waitingBytesMax - messageBytes) return false;
  messageBytes += frame.size();
  messages.push_back({++lastTurn, std::move(frame)});
  return true;
}

void MessageQueue::pushEvent(std::string_view channel, Value event) {
  dropEvent(channel);
  events.push_back({++lastTurn, std::string(channel), std::move(event)});
}

void MessageQueue::dropEvent(std::string_view channel) {
  std::erase_if(events,
                [channel](const WaitingEvent& waiting) { return waiting.channel == channel; });
}

std::span<const std::uint8_t> MessageQueue::next() {
  while (current.empty() && !(messages.empty() && events.empty())) {
    if (isMessageNext()) {
      beginMessage();
    } else {
      beginEvent();
    }
  }
  return std::span<const std::uint8_t>(current).subspan(currentWritten);
}

void MessageQueue::wrote(std::size_t count) {
  currentWritten += count;
  if (currentIsMessage) messageBytes -= count;
  // A frame may be megabytes: its memory is not kept while nothing goes out.
  if (currentWritten == current.size()) {
    current = Bytes();
    currentWritten = 0;
  }
}

bool MessageQueue::isMessageNext() const {
  if (messages.empty() || events.empty()) return events.empty();
  return messages.front().turn < events.front().turn;
}

void MessageQueue::beginMessage() {
  currentIsMessage = true;
  current = std::move(messages.front().frame);
  messages.pop_front();
}

void MessageQueue::beginEvent() {
  currentIsMessage = false;
  const auto waiting = std::move(events.front());
  events.erase(events.begin());
  try {
    current = encodeEventLinkFrame(waiting.channel, waiting.event);
  } catch (const std::runtime_error&) {
    // Too large for the link or not sayable in the codec: as good as never sent.
    return;
  }
}

std::shared_ptr<UiLink> UiLink::open(GMainContext* context, FileDescriptor socket,
                                     Callbacks callbacks) {
  auto link = std::make_shared<UiLink>(context, std::move(socket), std::move(callbacks));
  link->start();
  return link;
}

UiLink::UiLink(GMainContext* context, FileDescriptor socket, Callbacks callbacks)
    : context(context), socket(std::move(socket)), callbacks(std::move(callbacks)) {}

void UiLink::start() {
  watchForInput();
}

void UiLink::watchForInput() {
  inputSource =
      MainLoopSource::onDescriptor(context, socket.get(), G_IO_IN, [this] { return onReadable(); });
}

MainLoopSource::Next UiLink::onReadable() {
  // A handler of a message may let go of the link.
  const auto self = shared_from_this();
  if (readSome() == Reading::moreToCome) {
    inputSource = MainLoopSource::onTurn(context, afterEverythingElse, [this] {
      watchForInput();
      return onReadable();
    });
  }
  return inputSource.isActive() ? MainLoopSource::Next::again : MainLoopSource::Next::finished;
}

// Reads no further than a complete message, so that memory holds one message at most however much
// the other side sends.
UiLink::Reading UiLink::readSome() {
  assert(thread.isCurrent());
  int messagesLeft = messagesPerTurn;
  std::size_t bytesLeft = bytesReadPerTurn;
  while (true) {
    if (const auto handled = handleBuffered(messagesLeft); handled != Reading::drained) {
      return handled;
    }
    if (bytesLeft == 0) return Reading::moreToCome;
    const auto count = ::recv(socket.get(), inputChunk.data(),
                              std::min(bytesLeft, inputChunk.size()), MSG_DONTWAIT);
    if (count < 0 && isTemporary(errno)) return Reading::drained;
    if (count <= 0) {
      fail();
      return Reading::ended;
    }
    const auto received = static_cast<std::size_t>(count);
    reader.append(std::span(inputChunk).first(received));
    bytesLeft -= received;
  }
}

UiLink::Reading UiLink::handleBuffered(int& messagesLeft) {
  try {
    while (messagesLeft > 0) {
      const auto frame = reader.next();
      if (!frame) return Reading::drained;
      if (!accept(*frame)) {
        fail();
        return Reading::ended;
      }
      callbacks.onMessage(*frame);
      if (!isOpen()) return Reading::ended;
      --messagesLeft;
    }
    return Reading::moreToCome;
  } catch (const LinkError&) {
    fail();
    return Reading::ended;
  }
}

bool UiLink::accept(const LinkFrame& frame) {
  // The host never asks for a reply, so every reply is to an unknown id.
  if (frame.type != LinkFrameType::message) return false;
  return frame.id == 0 || unanswered.insert(frame.id).second;
}

void UiLink::reply(std::uint32_t id, std::optional<Bytes> payload) {
  if (!isOpen() || unanswered.erase(id) == 0) return;
  LinkFrame frame{.type = LinkFrameType::emptyReply, .id = id, .channel = {}, .payload = {}};
  if (payload) {
    frame.type = LinkFrameType::reply;
    frame.payload = Data(*std::move(payload));
  }
  try {
    push(encodeLinkFrame(frame));
  } catch (const LinkError&) {
    // Too long for the link, which is of no use when an answer must stay out.
    fail();
  }
}

void UiLink::sendEvent(std::string_view channel, Value event) {
  assert(thread.isCurrent());
  if (!isOpen()) return;
  queue.pushEvent(channel, std::move(event));
  flush();
}

void UiLink::sendMessage(std::string_view channel, Bytes payload) {
  if (!isOpen()) return;
  try {
    push(encodeLinkFrame({.type = LinkFrameType::message,
                          .id = 0,
                          .channel = std::string(channel),
                          .payload = Data(std::move(payload))}));
  } catch (const LinkError&) {
    // Nobody waits for it.
    return;
  }
}

// The link is of no use when the other side takes nothing from it.
void UiLink::push(Bytes frame) {
  assert(thread.isCurrent());
  if (!queue.pushMessage(std::move(frame))) return fail();
  flush();
}

void UiLink::dropEvent(std::string_view channel) {
  assert(thread.isCurrent());
  queue.dropEvent(channel);
}

// Writes at once what the socket takes; the rest follows as the other side reads.
void UiLink::flush() {
  if (outputSource.isActive() || !writeSome()) return;
  outputSource = MainLoopSource::onDescriptor(context, socket.get(), G_IO_OUT, [this] {
    return writeSome() ? MainLoopSource::Next::again : MainLoopSource::Next::finished;
  });
}

// True when something is left to write.
bool UiLink::writeSome() {
  assert(thread.isCurrent());
  std::size_t bytesLeft = bytesWrittenPerTurn;
  while (true) {
    const auto bytes = queue.next();
    if (bytes.empty()) return false;
    if (bytesLeft == 0) return true;
    const auto count = ::send(socket.get(), bytes.data(), std::min(bytesLeft, bytes.size()),
                              MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0 && isTemporary(errno)) return true;
    if (count < 0) {
      fail();
      return false;
    }
    queue.wrote(static_cast<std::size_t>(count));
    bytesLeft -= static_cast<std::size_t>(count);
  }
}

void UiLink::fail() {
  close();
  closedSource = MainLoopSource::onTurn(context, G_PRIORITY_HIGH, [this] {
    const auto self = shared_from_this();
    callbacks.onClosed();
    return MainLoopSource::Next::finished;
  });
}

void UiLink::close() {
  inputSource.cancel();
  outputSource.cancel();
  closedSource.cancel();
  socket.reset();
  queue = MessageQueue();
  unanswered.clear();
}

}  // namespace quorvin
