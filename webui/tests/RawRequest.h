#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/unix/FileDescriptor.h"
#include "webui/tests/TestLoop.h"

namespace quorvin::webui {

inline FileDescriptor connectTo(std::uint16_t port) {
  FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("no server on the loopback interface");
  }
  return socket;
}

inline void sendAll(const FileDescriptor& socket, std::string_view text) {
  if (send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the server does not read");
  }
}

// Reads, while the main loop runs, until the server closes the connection or `enough` was read.
inline std::string readAnswer(const FileDescriptor& socket, std::string_view enough) {
  std::string answer;
  runUntil([&] {
    std::array<char, 65536> buffer{};
    const auto count = recv(socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count > 0) answer.append(buffer.data(), static_cast<std::size_t>(count));
    return count == 0 || (count < 0 && errno != EAGAIN) || answer.find(enough) != std::string::npos;
  });
  return answer;
}

// Whether the server ends the connection without having said anything.
inline bool isClosed(const FileDescriptor& socket) {
  char byte = 0;
  ssize_t count = -1;
  const bool hasHeard = runUntil([&] {
    count = recv(socket.get(), &byte, 1, MSG_DONTWAIT);
    return count >= 0 || errno != EAGAIN;
  });
  return hasHeard && count <= 0;
}

// Sends exactly these lines of a request and returns the whole answer, as libraries refuse to
// write the requests that an attacker would.
inline std::string rawRequest(std::uint16_t port, const std::string& head) {
  const auto socket = connectTo(port);
  sendAll(socket, head + "Connection: close\r\n\r\n");
  return readAnswer(socket, "\r\n\r\n\r\n never \r\n\r\n\r\n");
}

inline int statusOf(const std::string& answer) {
  constexpr std::string_view version = "HTTP/1.1 ";
  return answer.starts_with(version) ? std::stoi(answer.substr(version.size(), 3)) : 0;
}

}  // namespace quorvin::webui
