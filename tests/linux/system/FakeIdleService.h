#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/linux/system/ChildProcess.h"

namespace quorvin {

// A session bus of this test's own.
class SessionBus {
 public:
  [[nodiscard]] const std::string& address() const { return daemon.readyLine(); }
  void freeze() const { daemon.send(SIGSTOP); }
  void end() { daemon.end(); }

 private:
  ChildProcess daemon{{"dbus-daemon", "--session", "--nofork", "--nosyslog",
                       "--print-address=" + std::to_string(ChildProcess::readyDescriptor)}};
};

struct UnrefObject {
  void operator()(gpointer object) const { g_object_unref(object); }
};
using BusConnection = std::unique_ptr<GDBusConnection, UnrefObject>;

// Joins the bus; needs no main loop.
[[nodiscard]] BusConnection joinBus(const SessionBus& bus);

// The names of everybody on the bus.
[[nodiscard]] std::vector<std::string> namesOnBus(const BusConnection& connection);

// A desktop's service that keeps a list of what it was asked. It answers while the default main
// context is iterated.
class FakeIdleService {
 public:
  struct Request {
    std::string method;
    std::string arguments;  // in GVariant's text format

    friend bool operator==(const Request&, const Request&) = default;
  };

  // The interface in D-Bus introspection format.
  FakeIdleService(const SessionBus& bus, const std::string& name, const std::string& path,
                  const std::string& introspection);
  FakeIdleService(const FakeIdleService&) = delete;
  FakeIdleService& operator=(const FakeIdleService&) = delete;
  ~FakeIdleService();

  [[nodiscard]] const std::vector<Request>& requests() const { return received; }
  // From now on keeps its answers back until answerAll.
  void holdAnswers() { isHolding = true; }
  void answerAll();

  static constexpr guint32 firstCookie = 4711;

 private:
  static void onCall(GDBusConnection* connection, const char* sender, const char* path,
                     const char* interface, const char* method, GVariant* arguments,
                     GDBusMethodInvocation* invocation, gpointer self);
  void answer(GDBusMethodInvocation* invocation);

  BusConnection connection;
  guint registration = 0;
  bool isHolding = false;
  guint32 nextCookie = firstCookie;
  std::vector<Request> received;
  std::vector<GDBusMethodInvocation*> held;
};

}  // namespace quorvin
