#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/linux/system/ChildProcess.h"
#include "tests/linux/system/UnusedDisplay.h"

namespace quorvin {

// A virtual X server of this test's own.
class XServer {
 public:
  explicit XServer(std::vector<std::string> options = {}) : child(command(std::move(options))) {}

  // As in DISPLAY.
  [[nodiscard]] std::string display() const { return ":" + child.readyLine(); }
  void freeze() const { child.send(SIGSTOP); }
  void thaw() const { child.send(SIGCONT); }
  void end() { child.end(); }

 private:
  static std::vector<std::string> command(std::vector<std::string> options) {
    std::vector<std::string> words{"Xvfb",       unusedDisplay(),
                                   "-displayfd", std::to_string(ChildProcess::readyDescriptor),
                                   "-screen",    "0",
                                   "320x240x24", "-nolisten",
                                   "tcp"};
    words.insert(words.end(), options.begin(), options.end());
    return words;
  }

  ChildProcess child;
};

}  // namespace quorvin
