#pragma once

#include <sys/types.h>

#include <string>

#include "platform/unix/FileDescriptor.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {

// A mosquitto that listens on a free port of 127.0.0.1, to whom it lets clients listen only where
// their id and their user name allow. Ends with the test.
class TestBroker {
 public:
  // `settings` are further lines of its configuration.
  explicit TestBroker(std::string settings = "");
  ~TestBroker() { stop(); }
  TestBroker(const TestBroker&) = delete;
  TestBroker& operator=(const TestBroker&) = delete;

  // On the same port as before; returns once it listens.
  void start();
  // As a machine that loses power does.
  void stop();

  [[nodiscard]] int port() const { return ownPort; }

 private:
  TemporaryFolder folder;
  std::string settings;
  int ownPort;
  pid_t process = 0;
};

// A socket that listens on a free port of 127.0.0.1, and the port.
struct FreePort {
  FreePort();

  FileDescriptor socket;
  int number = 0;
};

// A key and a certificate for this computer's address that signs itself.
class TestCertificate {
 public:
  TestCertificate();

  [[nodiscard]] std::string file() const { return folder.path("cert.pem"); }
  // What a broker needs to use it.
  [[nodiscard]] std::string settings() const;

 private:
  TemporaryFolder folder;
};

}  // namespace quorvin
