#include "tests/e2e/link/LinkClient.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "platform/flutter/StandardCodec.h"

namespace quorvin {
namespace {

constexpr std::size_t chunkSize = std::size_t{256} * 1024;

FlutterReply replyOf(const LinkFrame& frame) {
  if (frame.type == LinkFrameType::emptyReply) return FlutterMethodNotImplemented();
  return std::visit([](const auto& outcome) { return FlutterReply(outcome); },
                    decodeEnvelope(frame.payload.bytes()));
}

}  // namespace

LinkClient::LinkClient(FileDescriptor socket) : socket(std::move(socket)) {}

FlutterReply LinkClient::call(const std::string& method, const Value& arguments) {
  return callOn(methodChannel, method, arguments);
}

FlutterReply LinkClient::callOn(const std::string& channel, const std::string& method,
                                const Value& arguments) {
  return waitForReply(send(channel, method, arguments));
}

std::uint32_t LinkClient::send(const std::string& channel, const std::string& method,
                               const Value& arguments) {
  const auto id = ++lastId;
  sendBytes(encodeLinkFrame({.type = LinkFrameType::message,
                             .id = id,
                             .channel = channel,
                             .payload = Data(encodeMethodCall({method, arguments}))}));
  return id;
}

FlutterReply LinkClient::waitForReply(std::uint32_t id) {
  const auto deadline = Clock::now() + timeout;
  while (!replies.contains(id)) {
    if (!receive(deadline)) throw NoAnswer("No reply to message " + std::to_string(id));
  }
  return std::move(replies.extract(id).mapped());
}

std::optional<FlutterEvent> LinkClient::nextEvent(Milliseconds within) {
  const auto deadline = Clock::now() + within;
  while (events.empty()) {
    if (!receive(deadline)) return std::nullopt;
  }
  auto event = std::move(events.front());
  events.pop_front();
  return event;
}

std::optional<std::string> LinkClient::nextLifecycleState(Milliseconds within) {
  const auto deadline = Clock::now() + within;
  while (lifecycleStates.empty()) {
    if (!receive(deadline)) return std::nullopt;
  }
  auto state = std::move(lifecycleStates.front());
  lifecycleStates.pop_front();
  return state;
}

bool LinkClient::waitForLifecycleState(const std::string& state) {
  const auto deadline = Clock::now() + timeout;
  while (true) {
    const auto left = std::chrono::floor<Milliseconds>(deadline - Clock::now());
    const auto next = nextLifecycleState(left);
    if (!next || *next == state) return next.has_value();
  }
}

void LinkClient::discardEvents() {
  while (receive(Clock::now())) {
  }
  events.clear();
}

void LinkClient::waitUntilStuck() const {
  constexpr auto quietTime = Milliseconds(300);
  const auto waitingBytes = [this] {
    int count = 0;
    ::ioctl(socket.get(), FIONREAD, &count);
    return count;
  };
  for (int before = -1; before != waitingBytes();) {
    before = waitingBytes();
    std::this_thread::sleep_for(quietTime);
  }
}

bool LinkClient::isClosedWithin(Milliseconds within) {
  const auto deadline = Clock::now() + within;
  while (receive(deadline)) {
  }
  return isClosed;
}

void LinkClient::sendBytes(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw std::system_error(errno, std::generic_category(), "UI link");
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

bool LinkClient::receive(Clock::time_point deadline) {
  if (isClosed) return false;
  const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now());
  pollfd waiting{.fd = socket.get(), .events = POLLIN, .revents = 0};
  const int ready =
      ::poll(&waiting, 1, static_cast<int>(std::max<Milliseconds::rep>(0, left.count())));
  if (ready <= 0) return ready < 0 && errno == EINTR;
  std::vector<std::uint8_t> chunk(chunkSize);
  const auto count = ::recv(socket.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
  if (count <= 0) {
    isClosed = true;
    return false;
  }
  reader.append(std::span(chunk).first(static_cast<std::size_t>(count)));
  while (const auto frame = reader.next()) sort(*frame);
  return true;
}

void LinkClient::sort(const LinkFrame& frame) {
  if (frame.type == LinkFrameType::message) {
    if (frame.channel == frameChannel) {
      events.push_back(decodeEnvelope(frame.payload.bytes()));
      ++eventsSinceReply;
    }
    if (frame.channel == lifecycleChannel) {
      const auto bytes = frame.payload.bytes();
      lifecycleStates.emplace_back(bytes.begin(), bytes.end());
    }
  } else {
    replies.insert_or_assign(frame.id, replyOf(frame));
    eventsSinceReply = 0;
  }
}

}  // namespace quorvin
