#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/attacks/ProgramUnderAttack.h"
#include "tests/e2e/link/HostHarness.h"

namespace quorvin {

// Longer than this nothing may take that is not meant to.
inline constexpr std::chrono::seconds hang{2};

// A connection to the page's server, over which anything may be said.
class Wire {
 public:
  explicit Wire(std::uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::runtime_error("the server takes no connection");
    }
  }

  // Whether all of it was taken.
  [[nodiscard]] bool say(std::string_view bytes) const {
    while (!bytes.empty()) {
      pollfd ready{socket.get(), POLLOUT, 0};
      if (::poll(&ready, 1, hangMs) != 1) return false;
      const auto count =
          ::send(socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

  // What comes until it holds `enough`, or the server ends the connection.
  [[nodiscard]] std::string hear(std::string_view enough = "never said") {
    const auto deadline = std::chrono::steady_clock::now() + hang;
    while (!closed && heard.find(enough) == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
      pollfd ready{socket.get(), POLLIN, 0};
      if (::poll(&ready, 1, 20) != 1) continue;
      std::array<char, 65536> chunk{};
      const auto count = ::recv(socket.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
      if (count <= 0)
        closed = true;
      else
        heard.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return heard;
  }
  [[nodiscard]] bool isClosed() {
    std::ignore = hear();
    return closed;
  }

 private:
  static constexpr int hangMs = std::chrono::duration_cast<std::chrono::milliseconds>(hang).count();

  FileDescriptor socket;
  std::string heard;
  bool closed = false;
};

// A frame of a WebSocket as a browser writes it, masked with zeros.
[[nodiscard]] inline std::string webSocketFrame(unsigned firstByte, std::string_view payload) {
  std::string frame{static_cast<char>(firstByte)};
  if (payload.size() < 126) {
    frame += static_cast<char>(0x80U | payload.size());
  } else {
    frame += static_cast<char>(0xFEU);
    frame += static_cast<char>(payload.size() >> 8U);
    frame += static_cast<char>(payload.size() & 0xFFU);
  }
  return frame.append(4, '\0').append(payload);
}
inline constexpr unsigned wholeText = 0x81;
inline constexpr unsigned wholePing = 0x89;
inline constexpr unsigned firstOfText = 0x01;
inline constexpr unsigned furtherPiece = 0x00;

// The real host with the user interface that it starts, and the address of the page.
class AttackedWebUi {
 public:
  // `prepare` may add to the environment.
  explicit AttackedWebUi(std::vector<std::string> more = {"QUORVIN_WEBUI_OPEN=0"},
                         std::vector<std::string> arguments = {})
      : runtime(harness.home.path() / "runtime") {
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    auto environment = harness.environment();
    environment.push_back("XDG_RUNTIME_DIR=" + runtime.string());
    environment.insert(environment.end(), more.begin(), more.end());
    host = std::make_unique<HostProcess>(
        HostProcess::Launch{QUORVIN_HOST, std::move(arguments), environment, {}});
    if (!comesTrue([&] { return findAddress(); })) {
      throw std::runtime_error("no page: " + host->errorOutput());
    }
  }

  [[nodiscard]] std::string authority() const { return "127.0.0.1:" + std::to_string(port); }
  [[nodiscard]] std::string root() const { return "/" + token + "/"; }
  [[nodiscard]] std::string request(std::string_view target) const {
    return "GET " + std::string(target) + " HTTP/1.1\r\nHost: " + authority() + "\r\n\r\n";
  }
  [[nodiscard]] std::string handshake(std::string_view origin) const {
    return "GET " + root() + "ws HTTP/1.1\r\nHost: " + authority() +
           "\r\nOrigin: " + std::string(origin) +
           "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
  }
  // Everything that is answered to exactly this.
  [[nodiscard]] std::string answer(std::string_view request) const {
    Wire wire(port);
    if (!wire.say(request)) return "not read";
    return wire.hear();
  }
  // Whether somebody who knows the address gets the page, without having to wait.
  [[nodiscard]] bool servesItsUser() const {
    return answer(request(root())).find("<title>Quorvin Support</title>") != std::string::npos;
  }
  [[nodiscard]] std::unique_ptr<Wire> openPage() const {
    auto wire = std::make_unique<Wire>(port);
    if (!wire->say(handshake("http://" + authority())) ||
        wire->hear("\"session\"").find(" 101 ") == std::string::npos) {
      throw std::runtime_error("no WebSocket");
    }
    return wire;
  }

  [[nodiscard]] pid_t program() const {
    const auto hostsNumber = std::to_string(host->processId());
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      if (statusLine(entry.path(), "PPid") != hostsNumber) continue;
      if (statusLine(entry.path(), "Name") == "quorvin-webui") {
        return std::stoi(entry.path().filename().string());
      }
    }
    throw std::runtime_error("the user interface is gone");
  }
  [[nodiscard]] std::size_t residentKib() const {
    return std::stoul(statusLine(folderOf(program()), "VmRSS"));
  }

  HostHarness harness;
  std::filesystem::path runtime;
  std::filesystem::path addressFile;
  std::unique_ptr<HostProcess> host;
  std::uint16_t port = 0;
  std::string token;

 private:
  bool findAddress() {
    std::error_code none;
    for (const auto& entry :
         std::filesystem::directory_iterator(runtime / "com.quorvin.support", none)) {
      if (entry.path().extension() != ".html") continue;
      addressFile = entry.path();
      const auto text = contentOf(addressFile);
      std::smatch found;
      if (!std::regex_search(text, found, std::regex("http://127.0.0.1:(\\d+)/([0-9a-f]{32})/"))) {
        return false;
      }
      port = static_cast<std::uint16_t>(std::stoi(found[1]));
      token = found[2];
      return true;
    }
    return false;
  }
};

}  // namespace quorvin
