#pragma once

#include <gio/gio.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/TemporaryFolder.h"
#include "tests/linux/system/ChildProcess.h"

namespace quorvin {

// A session bus of this test's own, which can start org.freedesktop.ScreenSaver: a program that
// only leaves a file behind.
class SessionBus {
 public:
  [[nodiscard]] bool hasStartedService() const {
    return std::filesystem::exists(folder.path("started"));
  }
  [[nodiscard]] const std::string& address() const { return daemon.readyLine(); }
  void end() { daemon.end(); }

 private:
  static void writeServiceFile(const TemporaryFolder& folder) {
    std::filesystem::create_directories(folder.path("dbus-1/services"));
    (void)folder.write("dbus-1/services/saver.service",
                       "[D-BUS Service]\nName=org.freedesktop.ScreenSaver\nExec=/usr/bin/touch " +
                           folder.path("started").string() + "\n");
  }
  static std::vector<std::string> command(const TemporaryFolder& folder) {
    writeServiceFile(folder);
    return {"env",
            "XDG_DATA_HOME=" + folder.path("").string(),
            "dbus-daemon",
            "--session",
            "--nofork",
            "--nosyslog",
            "--print-address=" + std::to_string(ChildProcess::readyDescriptor)};
  }

  TemporaryFolder folder;
  ChildProcess daemon{command(folder)};
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
