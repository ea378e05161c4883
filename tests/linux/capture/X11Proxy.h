#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/unix/FileDescriptor.h"
#include "tests/linux/system/UnusedDisplay.h"

namespace quorvin {

// A display that is another one behind a door: it counts who comes through and can keep a request
// waiting. It passes no descriptors on, so the other display's server must be without MIT-SHM.
class X11Proxy {
 public:
  // `server` is the display of a local server.
  explicit X11Proxy(const std::string& server);
  X11Proxy(const X11Proxy&) = delete;
  X11Proxy& operator=(const X11Proxy&) = delete;
  ~X11Proxy();

  // As in DISPLAY.
  [[nodiscard]] const std::string& display() const { return name; }
  // How many connections there were so far.
  [[nodiscard]] int connections();
  // Lets nothing pass on any connection that follows the next request with these opcodes.
  void holdAfter(std::uint8_t major, std::uint8_t minor);
  void letPass();
  // Tells whoever connects from now on that pixels have their colours in the other order.
  void exchangeRedAndBlue() { exchangesColours = true; }

 private:
  struct Connection {
    FileDescriptor client;
    FileDescriptor server;
    std::thread requests;
    std::thread replies;
  };

  void accept();
  void passRequests(const Connection& connection);
  void holdIfLast(const std::vector<std::uint8_t>& request);
  void waitUntilFree();

  const std::string name = unusedDisplay();
  const std::string serverPath;
  FileDescriptor listener;

  std::atomic<bool> exchangesColours = false;

  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::deque<Connection> opened;
  std::pair<int, int> heldAfter{-1, -1};  // opcodes
  bool isHeld = false;

  std::thread acceptor;
};

}  // namespace quorvin
