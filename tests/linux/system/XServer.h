#pragma once

#include <unistd.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/linux/system/ChildProcess.h"
#include "tests/linux/system/UnusedDisplay.h"

namespace quorvin {

// A virtual X server of this test's own.
class XServer {
 public:
  explicit XServer(const std::vector<std::string>& options = {}) {
    // One that finds its display taken ends at once, without a word; numbers come round again, and
    // some tests take long.
    for (int attempt = 0; attempt < 5 && number.empty(); ++attempt) {
      child.emplace(command(options));
      number = child->readyLine();
    }
    if (number.empty()) throw std::runtime_error("no X server starts");
  }
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;
  ~XServer() { end(); }

  // As in DISPLAY.
  [[nodiscard]] std::string display() const { return ":" + number; }
  // Returns once it carries nothing out any more.
  void freeze() const { child->stop(); }
  void thaw() const { child->send(SIGCONT); }
  void end() {
    if (!child) return;
    child.reset();
    unlink(socketOfDisplay(display()).c_str());  // which a killed one leaves
  }

 private:
  static std::vector<std::string> command(const std::vector<std::string>& options) {
    std::vector<std::string> words{"Xvfb",       unusedDisplay(),
                                   "-displayfd", std::to_string(ChildProcess::readyDescriptor),
                                   "-screen",    "0",
                                   "320x240x24", "-nolisten",
                                   "tcp"};
    words.insert(words.end(), options.begin(), options.end());
    return words;
  }

  std::optional<ChildProcess> child;
  std::string number;
};

}  // namespace quorvin
