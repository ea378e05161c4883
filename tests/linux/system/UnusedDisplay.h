#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace quorvin {

// Where the server of such a display listens.
inline std::string socketOfDisplay(const std::string& name) {
  const std::string folder = "/tmp/.X11-unix";
  mkdir(folder.c_str(), 01777);  // there already, once a server has been started
  return folder + "/X" + name.substr(1);
}

// The name of an X display that no other test is given for a long time. A server that finds a
// number by itself takes that of one which another test has just ended, and whoever looks for the
// ended one would find the new one there. Numbers come round again, and some tests take long: a
// name in use is passed over.
inline std::string unusedDisplay() {
  constexpr int first = 1000;
  constexpr int span = 50'000;
  constexpr int perProcess = 64;
  static int made = 0;
  std::string name;
  do {
    name = ":" + std::to_string(first + (getpid() * perProcess + made++ % perProcess) % span);
  } while (access(socketOfDisplay(name).c_str(), F_OK) == 0 && made % perProcess != 0);
  return name;
}

}  // namespace quorvin
