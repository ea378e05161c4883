#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "webui/SessionHub.h"
#include "webui/WebServer.h"
#include "webui/tests/FakeHost.h"
#include "webui/tests/TestPage.h"

namespace quorvin::webui {

using nlohmann::json;

inline constexpr const char* startCall =
    R"({"id":1,"method":"startCapture","arguments":{"locallyAuthorized":true}})";
inline constexpr const char* stopCall = R"({"id":2,"method":"stopCapture"})";
inline constexpr const char* showsBoth = R"({"show":{"customer":true,"picture":true}})";
inline constexpr const char* takesInput =
    R"({"show":{"customer":true,"picture":true,"input":true}})";

// The whole program but its entry: a fake host on one side, real WebSockets on the other.
class SessionHubTest : public testing::Test {
 protected:
  explicit SessionHubTest(
      std::chrono::milliseconds absenceMax = SessionHub::customerAbsenceMax,
      std::chrono::milliseconds questionInterval = PageConnection::questionInterval,
      PictureRate::Timing timing = {})
      : hub(
            host.takeClientEnd(), [this](const std::string& reason) { linkClosed = reason; },
            absenceMax, questionInterval, std::move(timing)) {
    host.answer("listen", Value());
    host.answer("cancel", Value());
    host.answer("stopCapture", Value());
  }

  std::unique_ptr<TestPage> openPage(PageRole role = PageRole::customer,
                                     const std::string& resource = "ws") {
    const auto address = server.access().address(role);
    const auto origin = address.substr(0, address.find('/', std::string("http://").size()));
    auto page = std::make_unique<TestPage>(address, origin.c_str(), resource);
    EXPECT_TRUE(page->connected());
    return page;
  }

  std::unique_ptr<TestPage> openGuestsPage(RemoteId guest) {
    return openPage(PageRole::customer, "guest-" + std::to_string(guest));
  }

  std::unique_ptr<TestPage> openSupportersPage() { return openPage(PageRole::supporter); }

  std::unique_ptr<TestPage> openLivePage() {
    host.answer("startCapture", Value());
    auto page = openPage();
    page->send(showsBoth);
    page->send(startCall);
    EXPECT_FALSE(page->waitForSession("live").is_null());
    return page;
  }

  // Whatever the page sent before has been handled once this is answered.
  static void settle(const TestPage& page) {
    static int lastId = 1000;
    const auto id = ++lastId;
    page.send(R"({"id":)" + std::to_string(id) + R"(,"method":"nothing"})");
    EXPECT_FALSE(page.waitFor({{"id", id}}).is_null());
  }

  FakeHost host;
  std::optional<std::string> linkClosed;
  SessionHub hub;
  WebServer server{[this](std::unique_ptr<WebSocket> socket, const PageOwner& owner) {
    hub.addPage(std::move(socket), owner);
  }};
};

}  // namespace quorvin::webui
