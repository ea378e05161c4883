#include <gio/gio.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/system/Process.h"
#include "tests/contract/ProcessContract.h"
#include "tests/contract/StandardErrorCapture.h"
#include "tests/linux/system/FakeIdleService.h"
#include "tests/linux/system/MainLoop.h"

namespace quorvin::contract {
namespace {

constexpr auto screenSaverInterface = R"(<node><interface name="org.freedesktop.ScreenSaver">
  <method name="Inhibit">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="u" direction="out"/>
  </method>
  <method name="UnInhibit"><arg type="u" direction="in"/></method>
</interface></node>)";

// A desktop's idle service on a bus of this test's own.
class IdleService {
 public:
  [[nodiscard]] const std::string& busAddress() const { return bus.address(); }

  // Of the inhibitions that are in force.
  [[nodiscard]] std::vector<std::string> reasons() const {
    std::map<guint32, std::string> running;
    auto cookie = FakeIdleService::firstCookie;
    for (const auto& request : service.requests()) {
      GVariant* arguments =
          g_variant_parse(nullptr, request.arguments.c_str(), nullptr, nullptr, nullptr);
      if (request.method == "Inhibit") {
        const char* reason = nullptr;
        g_variant_get(arguments, "(&s&s)", nullptr, &reason);
        running[cookie++] = reason;
      } else {
        running.erase(cookieOf(arguments));
      }
      g_variant_unref(arguments);
    }
    std::vector<std::string> list;
    for (const auto& entry : running) list.push_back(entry.second);
    return list;
  }

 private:
  // Parsed from text, where a number has no width.
  static guint32 cookieOf(GVariant* arguments) {
    gint32 cookie = 0;
    g_variant_get(arguments, "(i)", &cookie);
    return static_cast<guint32>(cookie);
  }

  SessionBus bus;
  FakeIdleService service{bus, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                          screenSaverInterface};
};

class LinuxProcessWorld final : public ProcessWorld {
 public:
  Process& process() override { return linuxProcess; }
  std::vector<std::string> expectedArguments() override { return {"program", "--flag", ""}; }
  std::vector<std::string> takeStandardError() override { return standardError.take(); }
  void leaveStandardError() override { standardError.leave(); }
  bool runUntilActivitiesAre(std::vector<std::string> reasons) override {
    return runMainLoopUntil([&] { return std::ranges::is_permutation(idle.reasons(), reasons); });
  }

 private:
  IdleService idle;
  LinuxProcess linuxProcess{expectedArguments(), {.display = "", .busAddress = idle.busAddress()}};
  StandardErrorCapture standardError;
};

const auto bus =
    testing::Values(WorldKind<ProcessWorld>{"Bus", [] {
                                              return std::make_unique<LinuxProcessWorld>();
                                            }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, ProcessContract, bus, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, ActivityContract, bus, nameOfWorld);

}  // namespace quorvin::contract
