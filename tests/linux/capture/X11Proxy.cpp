#include "tests/linux/capture/X11Proxy.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace quorvin {

namespace {

FileDescriptor makeSocket() {
  return FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

FileDescriptor listenAt(const std::string& path) {
  auto listener = makeSocket();
  const auto address = addressOf(path);
  if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener.get(), 8) != 0) {
    throw std::runtime_error("no local socket");
  }
  return listener;
}

FileDescriptor connectTo(const std::string& path) {
  auto connected = makeSocket();
  const auto address = addressOf(path);
  if (connect(connected.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("no X server to pass on to");
  }
  return connected;
}

bool sendAll(int target, const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    const auto sent = send(target, bytes, count, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  return true;
}

// False when the connection has ended.
bool receive(int source, std::vector<std::uint8_t>& bytes, std::size_t count) {
  const std::size_t start = bytes.size();
  bytes.resize(start + count);
  return count == 0 ||
         recv(source, &bytes[start], count, MSG_WAITALL) == static_cast<ssize_t>(count);
}

// Numbers in the byte order of the client, which is this machine's.
template <typename Number>
std::size_t numberAt(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  Number number{};
  std::memcpy(&number, &bytes[offset], sizeof number);
  return number;
}

std::size_t paddedToWords(std::size_t count) {
  return (count + 3) / 4 * 4;
}

// What a client says first: twelve bytes, then the name and the data of its authorization.
std::optional<std::vector<std::uint8_t>> nextGreeting(int client) {
  std::vector<std::uint8_t> greeting;
  if (!receive(client, greeting, 12)) return {};
  const auto rest = paddedToWords(numberAt<std::uint16_t>(greeting, 6)) +
                    paddedToWords(numberAt<std::uint16_t>(greeting, 8));
  if (!receive(client, greeting, rest)) return {};
  return greeting;
}

// Opcode, another or data, and the length in words; if that is zero, a longer one follows.
std::optional<std::vector<std::uint8_t>> nextRequest(int client) {
  std::vector<std::uint8_t> request;
  if (!receive(client, request, 4)) return {};
  auto words = numberAt<std::uint16_t>(request, 2);
  if (words == 0) {
    if (!receive(client, request, 4)) return {};
    words = numberAt<std::uint32_t>(request, 4);
  }
  if (!receive(client, request, words * 4 - request.size())) return {};
  return request;
}

// What a server says first, in eight bytes and so many words as the last two of them tell: its
// visuals among other things, with three masks each.
std::vector<std::uint8_t> serversGreeting(int server, bool exchangesColours) {
  std::vector<std::uint8_t> greeting;
  if (!receive(server, greeting, 8)) return {};
  if (!receive(server, greeting, numberAt<std::uint16_t>(greeting, 6) * 4)) return {};
  for (std::size_t at = 8; exchangesColours && at + 12 <= greeting.size(); at += 4) {
    if (numberAt<std::uint32_t>(greeting, at) != 0x3ff00000 ||
        numberAt<std::uint32_t>(greeting, at + 8) != 0x3ff) {
      continue;
    }
    std::swap_ranges(&greeting[at], &greeting[at + 4], &greeting[at + 8]);
  }
  return greeting;
}

void passReplies(int server, int client, bool exchangesColours) {
  const auto greeting = serversGreeting(server, exchangesColours);
  sendAll(client, greeting.data(), greeting.size());
  std::array<std::uint8_t, 65'536> chunk{};
  ssize_t count = 0;
  do {
    count = recv(server, chunk.data(), chunk.size(), 0);
  } while (count > 0 && sendAll(client, chunk.data(), static_cast<std::size_t>(count)));
  shutdown(client, SHUT_RDWR);
}

}  // namespace

X11Proxy::X11Proxy(const std::string& server)
    : serverPath(socketOfDisplay(server)),
      listener(listenAt(socketOfDisplay(name))),
      acceptor([this] { accept(); }) {}

X11Proxy::~X11Proxy() {
  letPass();
  shutdown(listener.get(), SHUT_RDWR);
  acceptor.join();
  for (auto& connection : opened) {
    shutdown(connection.client.get(), SHUT_RDWR);
    shutdown(connection.server.get(), SHUT_RDWR);
    connection.requests.join();
    connection.replies.join();
  }
  unlink(socketOfDisplay(name).c_str());
}

int X11Proxy::connections() {
  const std::scoped_lock lock(mutex);
  return static_cast<int>(opened.size());
}

void X11Proxy::holdAfter(std::uint8_t major, std::uint8_t minor) {
  const std::scoped_lock lock(mutex);
  heldAfter = {major, minor};
}

void X11Proxy::letPass() {
  const std::scoped_lock lock(mutex);
  heldAfter = {-1, -1};
  isHeld = false;
  changed.notify_all();
}

void X11Proxy::accept() {
  while (true) {
    FileDescriptor client(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!client.isOpen()) return;
    const std::scoped_lock lock(mutex);
    auto& connection = opened.emplace_back();
    connection.client = std::move(client);
    connection.server = connectTo(serverPath);
    connection.requests = std::thread([this, &connection] { passRequests(connection); });
    connection.replies = std::thread([&connection, exchanges = exchangesColours.load()] {
      passReplies(connection.server.get(), connection.client.get(), exchanges);
    });
  }
}

void X11Proxy::passRequests(const Connection& connection) {
  const int client = connection.client.get();
  const int server = connection.server.get();
  for (auto next = nextGreeting(client); next; next = nextRequest(client)) {
    // Before the server can answer: a client that has its answer may already want the next held.
    holdIfLast(*next);
    if (!sendAll(server, next->data(), next->size())) break;
    waitUntilFree();
  }
  shutdown(server, SHUT_RDWR);
}

void X11Proxy::holdIfLast(const std::vector<std::uint8_t>& request) {
  const std::scoped_lock lock(mutex);
  if (std::pair<int, int>(request[0], request[1]) == heldAfter) isHeld = true;
}

void X11Proxy::waitUntilFree() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return !isHeld; });
}

}  // namespace quorvin
