#pragma once

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/flutter/LinkFrame.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// The user interface's end of a UI link within the test's own process and thread; nothing blocks.
class LinkPeer {
 public:
  LinkPeer() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::system_error(errno, std::generic_category());
    }
    hostsEnd = FileDescriptor(ends[0]);
    socket = FileDescriptor(ends[1]);
  }

  [[nodiscard]] FileDescriptor takeHostsEnd() { return std::move(hostsEnd); }

  // As much of the bytes as the socket takes; returns how many.
  std::size_t sendBytes(std::span<const std::uint8_t> bytes) const {
    const auto count =
        ::send(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
  }

  bool send(const LinkFrame& frame) const {
    const auto bytes = encodeLinkFrame(frame);
    return sendBytes(bytes) == bytes.size();
  }

  bool sendMessage(const std::string& channel, std::uint32_t id, Bytes payload) const {
    return send({LinkFrameType::message, id, channel, Data(std::move(payload))});
  }

  // Takes at most `limit` of the bytes that have arrived.
  void receive(std::size_t limit = SIZE_MAX) {
    std::array<std::uint8_t, 65536> chunk{};
    while (limit > 0 && !hostHasClosed) {
      const auto count =
          ::recv(socket.get(), chunk.data(), std::min(limit, chunk.size()), MSG_DONTWAIT);
      if (count < 0) return;
      hostHasClosed = count == 0;
      reader.append(std::span(chunk).first(static_cast<std::size_t>(count)));
      limit -= static_cast<std::size_t>(count);
      while (auto frame = reader.next()) frames.push_back(*std::move(frame));
    }
  }

  void close() { socket.reset(); }
  [[nodiscard]] bool sawClose() const { return hostHasClosed; }
  [[nodiscard]] int descriptor() const { return socket.get(); }

  std::vector<LinkFrame> frames;  // received so far

 private:
  FileDescriptor hostsEnd;
  FileDescriptor socket;
  LinkFrameReader reader;
  bool hostHasClosed = false;
};

}  // namespace quorvin
