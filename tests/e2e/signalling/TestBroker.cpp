#include "tests/e2e/signalling/TestBroker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <csignal>
#include <stdexcept>
#include <utility>

#include "tests/ChildProgram.h"
#include "webui/tests/TestLoop.h"

namespace quorvin {
namespace {

sockaddr_in addressOf(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool answers(int port) {
  const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto address = addressOf(port);
  return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

FreePort::FreePort() : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  auto address = addressOf(0);
  socklen_t size = sizeof address;
  auto* general = reinterpret_cast<sockaddr*>(&address);
  if (::bind(socket.get(), general, size) != 0 || ::listen(socket.get(), 1) != 0 ||
      ::getsockname(socket.get(), general, &size) != 0) {
    throw std::runtime_error("no free port");
  }
  number = ntohs(address.sin_port);
}

TestBroker::TestBroker(std::string settings)
    : settings(std::move(settings)), ownPort(FreePort().number) {
  start();
}

void TestBroker::start() {
  const auto rules = folder.write("acl",
                                  "pattern read quorvin/1/%c\n"
                                  "pattern read quorvin/1/place/%u\n"
                                  "pattern write quorvin/1/+\n"
                                  "pattern write quorvin/1/place/+\n"
                                  "pattern readwrite quorvin/1/gone/+\n");
  // Where it is started by the machine's owner it would take another user, who reads none of this.
  const auto file =
      folder.write("conf", "user root\nlog_dest none\nlistener " + std::to_string(ownPort) +
                               " 127.0.0.1\nacl_file " + rules + '\n' + settings +
                               (settings.find("allow_anonymous") == std::string::npos
                                    ? "\nallow_anonymous true\n"
                                    : ""));
  ChildProgram broker;
  broker.words = {QUORVIN_MOSQUITTO, "-c", file};
  process = startProgram(std::move(broker));
  bool hasEnded = false;
  const bool isThere = webui::runUntil([&] {
    hasEnded = ::waitpid(process, nullptr, WNOHANG) != 0;
    return hasEnded || answers(ownPort);
  });
  if (hasEnded || !isThere) throw std::runtime_error("the broker does not start");
}

void TestBroker::stop() {
  if (process == 0) return;
  ::kill(process, SIGKILL);
  ::waitpid(std::exchange(process, 0), nullptr, 0);
}

TestCertificate::TestCertificate() {
  ChildProgram openssl;
  openssl.words = {QUORVIN_OPENSSL,
                   "req",
                   "-x509",
                   "-newkey",
                   "ec",
                   "-pkeyopt",
                   "ec_paramgen_curve:P-256",
                   "-nodes",
                   "-subj",
                   "/CN=test",
                   "-addext",
                   "subjectAltName=IP:127.0.0.1",
                   "-keyout",
                   folder.path("key.pem"),
                   "-out",
                   file()};
  const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  openssl.descriptors = {{nowhere.get(), STDERR_FILENO}};
  const auto maker = startProgram(std::move(openssl));
  int status = 0;
  if (::waitpid(maker, &status, 0) != maker || status != 0) {
    throw std::runtime_error("no certificate");
  }
}

std::string TestCertificate::settings() const {
  return "certfile " + file() + "\nkeyfile " + folder.path("key.pem").string() + '\n';
}

}  // namespace quorvin
