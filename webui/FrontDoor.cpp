#include "webui/FrontDoor.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>

namespace quorvin::webui {

namespace {

constexpr std::uint16_t portsTried = 100;
// So many before other sources of the main loop get their turn.
constexpr int arrivalsPerTurn = 16;
constexpr std::size_t requestLineMax = 1024;
constexpr std::size_t headReadMax = std::size_t{64} * 1024;
constexpr std::chrono::milliseconds shortageRest{100};

bool setOption(const FileDescriptor& socket, int level, int option, int value) {
  return setsockopt(socket.get(), level, option, &value, sizeof(value)) == 0;
}

FileDescriptor listenOn(std::uint16_t port) {
  FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1) &&
      bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
      listen(socket.get(), SOMAXCONN) == 0) {
    return socket;
  }
  return FileDescriptor();
}

// What is asked for, exactly as it was written; empty when the line is none of a request.
std::string_view targetOf(std::string_view line) {
  const auto first = line.find(' ');
  const auto last = line.rfind(' ');
  if (first == last) return {};
  return line.substr(first + 1, last - first - 1);
}

}  // namespace

FrontDoor::FrontDoor(SoupServer* server) : server(server) {
  for (std::uint16_t offset = 0; offset < portsTried && listener.get() < 0; ++offset) {
    listeningPort = static_cast<std::uint16_t>(firstPort + offset);
    listener = listenOn(listeningPort);
  }
  if (listener.get() >= 0) return;
  throw std::runtime_error("no free port on 127.0.0.1 from " + std::to_string(firstPort) + " to " +
                           std::to_string(listeningPort) + " (" +
                           std::generic_category().message(errno) +
                           "); end a program that uses one of them, then start again");
}

FrontDoor::~FrontDoor() {
  for (const auto& [number, guest] : guests) {
    if (guest.stream != nullptr) g_object_weak_unref(G_OBJECT(guest.stream), onStreamGone, this);
  }
}

void FrontDoor::open(Rules given) {
  rules = std::move(given);
  awaitGuests();
}

void FrontDoor::awaitGuests() {
  arrivals = MainLoopSource::onDescriptor(nullptr, listener.get(), G_IO_IN,
                                          MainLoopSource::whileTrue([this] { return accept(); }));
}

bool FrontDoor::accept() {
  for (int count = 0; count < arrivalsPerTurn; ++count) {
    FileDescriptor socket(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.get() >= 0) {
      if (guests.size() < connectionsMax || turnOutOldestStranger()) admit(std::move(socket));
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
      return makeRoom();
    } else if (errno == EAGAIN) {
      break;
    }
  }
  return true;
}

// When the system has no descriptor left. Returns whether there may be one now.
bool FrontDoor::makeRoom() {
  if (turnOutOldestStranger()) return true;
  pause = MainLoopSource::onTimeout(nullptr, shortageRest,
                                    MainLoopSource::once([this] { awaitGuests(); }));
  return false;
}

void FrontDoor::admit(FileDescriptor socket) {
  const auto number = ++lastNumber;
  auto& guest = guests[number];
  guest.readable = MainLoopSource::onDescriptor(
      nullptr, socket.get(), G_IO_IN,
      MainLoopSource::whileTrue([this, number] { return readRequestLine(number); }));
  guest.deadline = MainLoopSource::onTimeout(
      nullptr, rules.timeMax, MainLoopSource::once([this, number] { turnOut(number); }));
  guest.socket = std::move(socket);
}

bool FrontDoor::turnOutOldestStranger() {
  const auto stranger =
      std::ranges::find_if(guests, [](const auto& entry) { return !entry.second.stream; });
  if (stranger == guests.end()) return false;
  guests.erase(stranger);
  return true;
}

void FrontDoor::turnOut(Number number) {
  auto* stream = guests.at(number).stream;
  if (stream == nullptr) {
    guests.erase(number);
  } else {
    // The server then finds the connection at its end and lets go of it.
    g_socket_shutdown(g_socket_connection_get_socket(stream), TRUE, TRUE, nullptr);
  }
}

// Only looks, as it is the server that is to read the request.
bool FrontDoor::readRequestLine(Number number) {
  auto& guest = guests.at(number);
  std::array<char, requestLineMax> head{};
  const auto count = recv(guest.socket.get(), head.data(), head.size(), MSG_PEEK);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return true;
  const auto size = static_cast<std::size_t>(std::max<ssize_t>(0, count));
  const std::string_view text(head.data(), size);
  const auto end = text.find('\n');
  if (end != std::string_view::npos || size == head.size()) {
    return decide(number, text.substr(0, end));
  }
  // Woken with no more than before: nothing will follow.
  if (size == guest.seen ||
      !setOption(guest.socket, SOL_SOCKET, SO_RCVLOWAT, static_cast<int>(size) + 1)) {
    guests.erase(number);
    return false;
  }
  guest.seen = size;
  return true;
}

bool FrontDoor::decide(Number number, std::string_view line) {
  if (rules.serves(targetOf(line))) {
    handOver(number);
  } else {
    const auto& socket = guests.at(number).socket;
    // What was read makes for an orderly end, in which the answer arrives.
    std::string head(headReadMax, '\0');
    std::ignore = recv(socket.get(), head.data(), head.size(), MSG_DONTWAIT);
    std::ignore = send(socket.get(), rules.refusal.data(), rules.refusal.size(), MSG_NOSIGNAL);
    guests.erase(number);
  }
  return false;
}

void FrontDoor::handOver(Number number) {
  auto& guest = guests.at(number);
  setOption(guest.socket, SOL_SOCKET, SO_RCVLOWAT, 1);
  setOption(guest.socket, IPPROTO_TCP, TCP_NODELAY, 1);
  guest.readable.cancel();
  const GlibPtr<GSocket> socket(g_socket_new_from_fd(guest.socket.get(), nullptr));
  if (socket) static_cast<void>(guest.socket.release());
  guest.address.reset(socket ? g_socket_get_remote_address(socket.get(), nullptr) : nullptr);
  const GlibPtr<GSocketAddress> local(socket ? g_socket_get_local_address(socket.get(), nullptr)
                                             : nullptr);
  if (!guest.address || !local) {
    guests.erase(number);
    return;
  }
  const GlibPtr<GSocketConnection> stream(
      g_socket_connection_factory_create_connection(socket.get()));
  guest.stream = stream.get();
  g_object_weak_ref(G_OBJECT(stream.get()), onStreamGone, this);
  const auto address = referTo(guest.address.get());
  soup_server_accept_iostream(server, G_IO_STREAM(stream.get()), local.get(), address.get(),
                              nullptr);
}

int FrontDoor::letStay(SoupServerMessage* message) {
  const auto* address = soup_server_message_get_remote_address(message);
  const auto found = std::ranges::find_if(
      guests, [address](const auto& entry) { return entry.second.address.get() == address; });
  if (found == guests.end() || found->second.stream == nullptr) return -1;
  found->second.deadline.cancel();
  return g_socket_get_fd(g_socket_connection_get_socket(found->second.stream));
}

void FrontDoor::onStreamGone(gpointer self, GObject* stream) {
  std::erase_if(static_cast<FrontDoor*>(self)->guests, [stream](const auto& entry) {
    return entry.second.stream == reinterpret_cast<GSocketConnection*>(stream);
  });
}

}  // namespace quorvin::webui
