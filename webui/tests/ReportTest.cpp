#include <gtest/gtest.h>

#include <string>

#include "webui/Report.h"
#include "webui/tests/SessionHubTest.h"

namespace quorvin::webui {
namespace {

using namespace std::chrono_literals;

constexpr auto now = Report::Clock::time_point{} + 1h;

// What is said of one error with that text.
std::string shown(Report& report, const std::string& text) {
  report.add("capture_failed", text, now);
  const auto all = report.text({}, now);
  const std::string before = "capture_failed: ";
  const auto begin = all.rfind(before) + before.size();
  return all.substr(begin, all.find('\n', begin) - begin);
}

TEST(Report, TellsOfTheSystemPermissionsAndErrors) {
  Report report;
  report.setSystem("Program: Quorvin Support\n");
  report.add("capture_stopped", "The display was lost (-3817).", now - 3min);
  report.add("capture_stopped", "The display was lost (-3817).", now - 2min);
  EXPECT_EQ(report.text(Map{{"screenRecording", true}, {"accessibility", false}}, now),
            "Program: Quorvin Support\nScreen Recording: granted\nAccessibility: not granted\n"
            "Last errors:\n  2 min ago: capture_stopped, 2 times: The display was lost (-3817).\n");
}

TEST(Report, SaysSoWhereNothingIsKnown) {
  EXPECT_EQ(Report().text({}),
            "Screen Recording: not known\nAccessibility: not known\nLast errors: none\n");
}

TEST(Report, KeepsWhatExplainsAnError) {
  Report report;
  EXPECT_EQ(shown(report, "The X server has no XTEST, error 11."),
            "The X server has no XTEST, error 11.");
}

TEST(Report, HidesNames) {
  Report report;
  for (const char* name : {"desk-7.example", "ann", "Ann Smith", "/home/ann", "Front desk 4"}) {
    report.hide(name);
  }
  EXPECT_EQ(shown(report, "Ann and SMITH, at \"Front desk 4\" (desk), cannot: ann's, ann."),
            "… and …, at \"… … …\" (…), cannot: …, ….");
}

TEST(Report, HidesAddressesPathsAndSecretsOfAnyName) {
  Report report;
  for (const char* secret : {"192.168.1.20",
                             "192.168.1.20:8765",
                             "[fe80::1]",
                             "::1",
                             "1::",
                             "-48291",
                             "2001:db8::7",
                             "/home/joe/file",
                             "file:///home/joe",
                             "https://help.example/#k7Qz",
                             "broker.example",
                             "joe@example",
                             "4829135072",
                             "48291",
                             "deadbeef00112233",
                             "QWERTYUIOPAS",
                             "aBcDeF",
                             "Jörg",
                             "~joe",
                             "a\tb.c",
                             "abcdefghijklmnopqrstuvwxyz"}) {
    const auto text = shown(report, std::string("from ") + secret + " to");
    EXPECT_EQ(text.find(secret), std::string::npos) << text;
    EXPECT_TRUE(text.starts_with("from ") && text.ends_with(" to")) << text;
  }
  report.add("code of joe", "", now);
  EXPECT_EQ(report.text({}, now).find("joe"), std::string::npos);
}

TEST(Report, IsBounded) {
  Report report;
  for (std::size_t number = 0; number < 2 * Report::errorsMax; ++number) {
    report.add("e" + std::to_string(number), std::string(5000, 'a') + " b", now);
  }
  const auto text = report.text({}, now);
  EXPECT_EQ(text.find("e19:"), std::string::npos);
  EXPECT_NE(text.find("e20:"), std::string::npos);
  EXPECT_LT(text.size(), 4000U);
}

class ReportOfHubTest : public SessionHubTest {
 protected:
  static std::string reportFor(const TestPage& page) {
    page.send(R"({"report":true})");
    return page.waitFor({{"event", "report"}})["text"];
  }
};

TEST_F(ReportOfHubTest, TellsACustomerWhatTheHostSaidWithoutItsNames) {
  host.answer("capabilities", Map{{"deviceName", "Till 4"}, {"unattendedName", "Front desk"}});
  host.answer("permissions", Map{{"screenRecording", true}, {"accessibility", true}});
  host.answer("startCapture", FlutterError{"capture_failed", "Nothing at Till or Front.", {}});
  bool asked = false;
  hub.askWhetherUnattended([&](bool) { asked = true; });
  ASSERT_TRUE(runUntil([&] { return asked; }));
  const auto page = openPage();
  page->send(startCall);
  ASSERT_FALSE(page->waitFor({{"id", 1}}).is_null());
  host.sendStreamError({"capture_stopped", "The desk is gone.", {}});
  ASSERT_FALSE(page->waitFor({{"event", "error"}}).is_null());
  const auto report = reportFor(*page);
  EXPECT_NE(report.find("Accessibility: granted"), std::string::npos) << report;
  EXPECT_NE(report.find("capture_failed: Nothing at … or …."), std::string::npos) << report;
  EXPECT_NE(report.find("capture_stopped: The … is gone."), std::string::npos) << report;
}

TEST_F(ReportOfHubTest, ComesWithoutPermissionsFromAHostThatTellsNone) {
  host.answer("permissions", FlutterError{"failed", {}, {}});
  EXPECT_NE(reportFor(*openPage()).find("Accessibility: not known"), std::string::npos);
}

TEST_F(ReportOfHubTest, IsNotForSupporters) {
  const auto page = openSupportersPage();
  page->send(R"({"report":true})");
  EXPECT_EQ(page->waitFor({{"id", nullptr}})["error"]["code"], "not_allowed");
}

}  // namespace
}  // namespace quorvin::webui
