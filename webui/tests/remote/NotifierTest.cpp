#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/unix/FileDescriptor.h"
#include "tests/TemporaryFolder.h"
#include "webui/remote/Notifier.h"
#include "webui/tests/TestLoop.h"

namespace quorvin::webui {
namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* object = "/org/freedesktop/Notifications";

// A session bus of this test's own.
class SessionBus {
 public:
  SessionBus() { g_test_dbus_up(daemon.get()); }
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;
  ~SessionBus() { g_test_dbus_stop(daemon.get()); }
  [[nodiscard]] std::string address() const { return g_test_dbus_get_bus_address(daemon.get()); }

 private:
  GlibPtr<GTestDBus> daemon{g_test_dbus_new(G_TEST_DBUS_NONE)};
};

// A local socket that takes connections and never answers on them.
class SilentServer {
 public:
  explicit SilentServer(const std::string& path)
      : listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener.get(), 8), 0);
  }

 private:
  FileDescriptor listener;
};

// The desktop's service.
class FakeDesktop {
 public:
  explicit FakeDesktop(const SessionBus& bus)
      : connection(g_dbus_connection_new_for_address_sync(
            bus.address().c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr)) {
    static constexpr GDBusInterfaceVTable functions{&onCall, nullptr, nullptr, {}};
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(
        R"(<node><interface name="org.freedesktop.Notifications"><method name="Notify">
             <arg type="s" direction="in"/><arg type="u" direction="in"/>
             <arg type="s" direction="in"/><arg type="s" direction="in"/>
             <arg type="s" direction="in"/><arg type="as" direction="in"/>
             <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/>
             <arg type="u" direction="out"/></method></interface></node>)",
        nullptr);
    g_dbus_connection_register_object(connection.get(), object, node->interfaces[0], &functions,
                                      this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
    GVariant* answer = g_dbus_connection_call_sync(
        connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", service, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
        nullptr, nullptr);
    g_variant_unref(answer);
  }

  void press(guint32 id, const char* action) const {
    g_dbus_connection_emit_signal(connection.get(), nullptr, object, service, "ActionInvoked",
                                  g_variant_new("(us)", id, action), nullptr);
  }

  std::vector<std::string> shown;
  static constexpr guint32 firstId = 41;

 private:
  static void onCall(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/,
                     const char* /*interface*/, const char* /*method*/, GVariant* arguments,
                     GDBusMethodInvocation* invocation, gpointer self) {
    auto& desktop = *static_cast<FakeDesktop*>(self);
    char* text = g_variant_print(arguments, FALSE);
    desktop.shown.emplace_back(text);
    g_free(text);
    const auto id = firstId + static_cast<guint32>(desktop.shown.size()) - 1;
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(u)", id));
  }

  GlibPtr<GDBusConnection> connection;
};

class NotifierTest : public testing::Test {
 protected:
  void showAndWait() {
    const auto before = desktop.shown.size();
    notifier->show("Ann asks", "text");
    ASSERT_TRUE(runUntil([&] { return desktop.shown.size() == before + 1; }));
  }

  SessionBus bus;
  FakeDesktop desktop{bus};
  int stops = 0;
  std::unique_ptr<Notifier> notifier =
      std::make_unique<Notifier>(bus.address(), [this] { ++stops; });
};

TEST_F(NotifierTest, ShowsATitleAndATextWithAStopButton) {
  notifier->show("<b>Ann</b> asks", "Answer & <i>see</i>");
  ASSERT_TRUE(runUntil([this] { return !desktop.shown.empty(); }));
  EXPECT_EQ(desktop.shown[0],
            "('Quorvin Support', 0, '', '<b>Ann</b> asks', "
            "'Answer &amp; &lt;i&gt;see&lt;/i&gt;', ['stop', 'Stop'], {}, -1)");
}

TEST_F(NotifierTest, StopButtonOfWhatItHasShownStops) {
  showAndWait();
  EXPECT_TRUE(runUntil([this] {
    desktop.press(FakeDesktop::firstId, "stop");
    return stops > 0;
  }));
}

TEST_F(NotifierTest, OtherButtonsAndOtherNotificationsDoNot) {
  showAndWait();
  int pressed = 0;
  EXPECT_TRUE(runUntil([&] {
    for (int others = 0; others < 20; ++others) {
      desktop.press(FakeDesktop::firstId + 100, "stop");
      desktop.press(FakeDesktop::firstId, "default");
    }
    desktop.press(FakeDesktop::firstId, "stop");
    ++pressed;
    return stops >= 10;
  }));
  EXPECT_LE(stops, pressed);
}

TEST_F(NotifierTest, GoesWhileAnAnswerIsOnItsWay) {
  showAndWait();
  notifier = std::make_unique<Notifier>(bus.address(), [] {});
  // The answer to the other one's has come before.
  showAndWait();
  desktop.press(FakeDesktop::firstId, "stop");
  showAndWait();
  EXPECT_EQ(stops, 0);
}

TEST(Notifier, DoesWithoutABusAndWithoutAService) {
  for (const auto* address : {"", "unix:path=/nowhere", "nonsense"}) {
    Notifier(address, [] {}).show("Ann asks", "text");
  }
  const SessionBus bus;
  Notifier(bus.address(), [] {}).show("Ann asks", "text");
}

// In a process of its own, that has no threads yet.
void useNotifierProcess() {
  const SessionBus bus;
  int stops = 0;
  const NotifierProcess notifier(bus.address(), [&] { ++stops; });
  FakeDesktop desktop(bus);
  notifier.show("Ann asks", "Answer on the page.");
  const bool isShown = runUntil([&] { return !desktop.shown.empty(); });
  const bool isStopped = runUntil([&] {
    desktop.press(FakeDesktop::firstId, "stop");
    return stops > 0;
  });
  const bool isSame =
      isShown && desktop.shown[0].find("'Ann asks', 'Answer on the page.'") != std::string::npos;
  std::exit(isSame && isStopped ? EXIT_SUCCESS : EXIT_FAILURE);
}

TEST(NotifierProcessDeathTest, ShowsAndStopsLikeANotifier) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(useNotifierProcess(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST(NotifierProcessDeathTest, IsNotWaitedForWhenItsBusHangs) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const TemporaryFolder folder;
  const auto path = folder.path("bus").string();
  const SilentServer silent(path);
  EXPECT_EXIT(
      {
        ::alarm(5);  // sooner than the other process gives up
        const NotifierProcess notifier("unix:path=" + path, [] {});
        for (int count = 0; count < 10'000; ++count) notifier.show("Ann asks", "text");
        std::exit(EXIT_SUCCESS);
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "");
}

class SessionBusAddressTest : public testing::Test {
 protected:
  ~SessionBusAddressTest() override {
    setOrUnset("DBUS_SESSION_BUS_ADDRESS", formerAddress);
    setOrUnset("XDG_RUNTIME_DIR", formerFolder);
  }
  static std::string found(const char* address, const char* runtimeFolder) {
    setOrUnset("DBUS_SESSION_BUS_ADDRESS", address);
    setOrUnset("XDG_RUNTIME_DIR", runtimeFolder);
    return sessionBusAddress();
  }
  static void setOrUnset(const char* name, const std::string& value) {
    if (value.empty()) {
      unsetenv(name);
    } else {
      setenv(name, value.c_str(), 1);
    }
  }
  static std::string valueOf(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
  }

  std::string formerAddress = valueOf("DBUS_SESSION_BUS_ADDRESS");
  std::string formerFolder = valueOf("XDG_RUNTIME_DIR");
  TemporaryFolder folder;
};

TEST_F(SessionBusAddressTest, IsOneThatNeedsNoProgramToBeStarted) {
  EXPECT_EQ(found("unix:path=/run/x", ""), "unix:path=/run/x");
  EXPECT_EQ(found("autolaunch:", ""), "");
  EXPECT_EQ(found("unixexec:path=/bin/true", ""), "");
  EXPECT_EQ(found("", ""), "");
  EXPECT_EQ(found("", folder.path().c_str()), "");
  const auto path = folder.path("bus").string();
  const SilentServer bus(path);
  EXPECT_EQ(found("", folder.path().c_str()), "unix:path=" + path);
}

}  // namespace
}  // namespace quorvin::webui
