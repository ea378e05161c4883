#pragma once

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin::webui {

// The host's end of a UI link, on the same main loop as what is tested. Records every call and
// answers those methods that it was given an answer for; other calls stay unanswered.
class FakeHost {
 public:
  struct Call {
    std::string channel;
    FlutterMethodCall call;
    std::uint32_t id = 0;
  };

  FakeHost() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::runtime_error("no socket pair");
    }
    mine = FileDescriptor(ends[0]);
    theirs = FileDescriptor(ends[1]);
    readable = MainLoopSource::onDescriptor(nullptr, mine.get(), G_IO_IN,
                                            MainLoopSource::whileTrue([this] { return read(); }));
  }

  FileDescriptor takeClientEnd() { return std::move(theirs); }

  void answer(const std::string& method, FlutterReply reply) {
    answers.insert_or_assign(method, std::move(reply));
  }
  void forget(const std::string& method) { answers.erase(method); }

  // Answers a call that was left unanswered.
  void reply(const Call& call, const FlutterReply& reply) const {
    if (const auto* value = std::get_if<Value>(&reply)) {
      send({LinkFrameType::reply, call.id, {}, Data(encodeSuccessEnvelope(*value))});
    } else if (const auto* error = std::get_if<FlutterError>(&reply)) {
      send({LinkFrameType::reply, call.id, {}, Data(encodeErrorEnvelope(*error))});
    } else {
      send({LinkFrameType::emptyReply, call.id, {}, {}});
    }
  }

  void sendFrame(Bytes payload) const {
    sendBytes(encodeEventLinkFrame("com.quorvin.support/frames", Data(std::move(payload))));
  }
  void sendStreamError(const FlutterError& error) const {
    send({LinkFrameType::message, 0, "com.quorvin.support/frames",
          Data(encodeErrorEnvelope(error))});
  }
  void send(const LinkFrame& frame) const { sendBytes(encodeLinkFrame(frame)); }

  void sendBytes(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
      const auto count = ::send(mine.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0) throw std::runtime_error("the client end is closed");
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
  }

  void closeLink() {
    readable.cancel();
    mine.reset();
  }

  [[nodiscard]] bool closed() const { return clientClosed; }
  [[nodiscard]] const std::vector<Call>& calls() const { return recorded; }
  [[nodiscard]] std::size_t count(const std::string& method) const {
    std::size_t found = 0;
    for (const auto& call : recorded) found += call.call.method == method ? 1U : 0U;
    return found;
  }
  [[nodiscard]] std::optional<Call> last(const std::string& method) const {
    for (auto call = recorded.rbegin(); call != recorded.rend(); ++call) {
      if (call->call.method == method) return *call;
    }
    return std::nullopt;
  }

 private:
  bool read() {
    std::array<std::uint8_t, 65536> buffer{};
    const auto count = recv(mine.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count <= 0) {
      clientClosed = count == 0 || errno != EAGAIN;
      return !clientClosed;
    }
    reader.append(std::span(buffer).first(static_cast<std::size_t>(count)));
    while (const auto frame = reader.next()) record(*frame);
    return true;
  }

  void record(const LinkFrame& frame) {
    if (frame.type != LinkFrameType::message) return;
    recorded.push_back({frame.channel, decodeMethodCall(frame.payload.bytes()), frame.id});
    const auto answer = answers.find(recorded.back().call.method);
    if (answer != answers.end()) reply(recorded.back(), answer->second);
  }

  FileDescriptor mine;
  FileDescriptor theirs;
  LinkFrameReader reader;
  std::map<std::string, FlutterReply> answers;
  std::vector<Call> recorded;
  bool clientClosed = false;
  MainLoopSource readable;
};

}  // namespace quorvin::webui
