#include "platform/unix/UiSocket.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <stdexcept>

namespace quorvin {

namespace {

[[noreturn]] void refuse(const std::string& reason) {
  throw std::runtime_error(std::string(uiDescriptorVariable) + " " + reason + ".");
}

int parseNumber(const std::string& text) {
  int number = -1;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < 0) refuse("is not a descriptor number");
  return number;
}

int socketOption(int descriptor, int option) {
  int value = 0;
  socklen_t size = sizeof(value);
  if (::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0) return value;
  refuse(errno == EBADF ? "names no open descriptor" : "does not name a socket");
}

}  // namespace

FileDescriptor takeInheritedUiSocket(const std::string& text) {
  const int number = parseNumber(text);
  if (socketOption(number, SO_TYPE) != SOCK_STREAM) refuse("does not name a stream socket");
  sockaddr_storage peer{};
  socklen_t size = sizeof(peer);
  if (::getpeername(number, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
    refuse("does not name a connected socket");
  }
  FileDescriptor socket(number);
  if (::fcntl(number, F_SETFD, FD_CLOEXEC) != 0) refuse("names a descriptor that is of no use");
  return socket;
}

}  // namespace quorvin
