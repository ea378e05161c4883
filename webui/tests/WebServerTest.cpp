#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "webui/WebServer.h"
#include "webui/tests/RawRequest.h"

namespace quorvin::webui {
namespace {

class WebServerTest : public testing::Test {
 protected:
  explicit WebServerTest(std::chrono::milliseconds requestTimeMax = FrontDoor::requestTimeMax)
      : server(
            [this](const std::unique_ptr<WebSocket>&, const PageOwner& owner) {
              ++pagesOpened;
              lastOwner = owner;
            },
            {}, requestTimeMax) {}

  [[nodiscard]] std::string address(PageRole role = PageRole::customer) const {
    return server.access().address(role);
  }
  [[nodiscard]] std::string authority() const {
    const auto start = std::string("http://").size();
    return address().substr(start, address().find('/', start) - start);
  }
  [[nodiscard]] std::uint16_t port() const {
    return static_cast<std::uint16_t>(
        std::stoi(authority().substr(std::string("127.0.0.1:").size())));
  }
  // The path of the page with its token.
  [[nodiscard]] std::string root(PageRole role = PageRole::customer) const {
    return address(role).substr(address(role).find('/', std::string("http://").size()));
  }
  [[nodiscard]] std::string supportersRoot() const { return root(PageRole::supporter); }
  [[nodiscard]] std::string request(const std::string& method, const std::string& path,
                                    const std::string& host, const std::string& more = "") const {
    return rawRequest(port(), method + " " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + more);
  }
  [[nodiscard]] std::string get(const std::string& path) const {
    return request("GET", path, authority());
  }
  // The answer's head to a well-formed WebSocket handshake from this origin.
  [[nodiscard]] std::string handshake(const std::string& path,
                                      const std::string& originLine) const {
    const auto socket = connectTo(port());
    sendAll(socket, "GET " + path + " HTTP/1.1\r\nHost: " + authority() + "\r\n" + originLine +
                        "Upgrade: websocket\r\nConnection: Upgrade\r\n"
                        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                        "Sec-WebSocket-Version: 13\r\n\r\n");
    return readAnswer(socket, "\r\n\r\n");
  }

  int pagesOpened = 0;
  PageOwner lastOwner;
  WebServer server;
};

TEST_F(WebServerTest, ServesThePageAndItsAssetsBehindTheToken) {
  const auto page = get(root());
  EXPECT_EQ(statusOf(page), 200);
  EXPECT_NE(page.find("Content-Type: text/html; charset=utf-8"), std::string::npos);
  EXPECT_NE(page.find("<title>Quorvin Support</title>"), std::string::npos);
  EXPECT_NE(get(root() + "customer.js").find("Content-Type: text/javascript"), std::string::npos);
  EXPECT_NE(get(root() + "en.json").find("Content-Type: application/json"), std::string::npos);
  EXPECT_NE(get(root() + "app.css").find("Content-Type: text/css"), std::string::npos);
  EXPECT_NE(get(root() + "icon.svg").find("Content-Type: image/svg+xml"), std::string::npos);
}

TEST_F(WebServerTest, ServesEachRoleItsOwnPageOnly) {
  constexpr auto allow = "id=\"allow-button\"";
  constexpr auto picture = "id=\"picture\"";
  const auto customers = get(root());
  EXPECT_NE(customers.find(allow), std::string::npos);
  EXPECT_EQ(customers.find(picture), std::string::npos);
  const auto supporters = get(supportersRoot());
  EXPECT_EQ(statusOf(supporters), 200);
  EXPECT_NE(supporters.find(picture), std::string::npos);
  EXPECT_EQ(supporters.find(allow), std::string::npos);
  EXPECT_EQ(statusOf(get(supportersRoot() + "app.css")), 200);
  for (const auto& path : {root(), supportersRoot()}) {
    EXPECT_EQ(statusOf(get(path + "index.html")), 404) << path;
    EXPECT_EQ(statusOf(get(path + "supporter.html")), 404) << path;
  }
}

TEST_F(WebServerTest, LeadsFromTheCustomersPageToTheSupportersAndNotBack) {
  const auto answer = get(root() + "supporter");
  EXPECT_EQ(statusOf(answer), 302);
  EXPECT_NE(answer.find("Location: " + address(PageRole::supporter) + "\r\n"), std::string::npos);
  EXPECT_EQ(statusOf(get(supportersRoot() + "supporter")), 404);
  EXPECT_EQ(statusOf(get(supportersRoot() + "customer")), 404);
  EXPECT_EQ(statusOf(request("GET", root() + "supporter", "example.com")), 403);
  EXPECT_EQ(statusOf(request("POST", root() + "supporter", authority())), 405);
  const auto token = root().substr(1, root().size() - 2);
  for (const auto* name : {"", "supporterpage.js", "app.css", "nothing"}) {
    EXPECT_EQ(get(supportersRoot() + name).find(token), std::string::npos) << name;
  }
}

TEST_F(WebServerTest, KnowsOneWayOnlyToWriteEachPath) {
  ASSERT_EQ(statusOf(get(root() + "customer.js")), 200);
  for (const auto& path :
       {"/." + root(), "/x/.." + root(), "/" + root(), root() + ".", root() + "./customer.js",
        root() + "customer.js/", root() + "customer.js?", root() + "customer.js#x", root() + "?x=1",
        root() + "customerpage%2Ejs", root() + "../" + root().substr(1), address(),
        address() + "customer.js", root() + "customer.js HTTP/1.1"}) {
    const auto answer = get(path);
    EXPECT_EQ(statusOf(answer), 404) << path;
    EXPECT_EQ(answer.find("<html"), std::string::npos) << path;
  }
}

TEST_F(WebServerTest, SendsTheHeadersThatKeepOthersOutWithEveryAnswer) {
  for (const auto& answer : {get(root()), get("/"), request("GET", root(), "example.com")}) {
    for (const auto* header :
         {"Content-Security-Policy: default-src 'none'", "X-Content-Type-Options: nosniff",
          "X-Frame-Options: DENY", "Referrer-Policy: no-referrer", "Cache-Control: no-store"}) {
      EXPECT_NE(answer.find(header), std::string::npos) << header << " in\n" << answer;
    }
  }
}

TEST_F(WebServerTest, ShowsNothingWithoutTheRightToken) {
  const auto wrong = "/" + std::string(32, '0') + "/";
  for (const auto& path : {std::string("/"), std::string("/index.html"), wrong, wrong + "app.css",
                           root() + "../" + "x/", root().substr(0, root().size() - 1)}) {
    const auto answer = get(path);
    EXPECT_EQ(statusOf(answer), 404) << path;
    EXPECT_EQ(answer.find("<html"), std::string::npos) << path;
  }
}

TEST_F(WebServerTest, HasNoOtherFiles) {
  EXPECT_EQ(statusOf(get(root() + "nothing.js")), 404);
  EXPECT_EQ(statusOf(get(root() + "../../../etc/passwd")), 404);
  EXPECT_EQ(statusOf(get(root() + "%2e%2e/app.css")), 404);
}

TEST_F(WebServerTest, ServesHelpToBothAndNoOtherPageByItsName) {
  for (const auto role : {PageRole::customer, PageRole::supporter}) {
    const auto address = server.access().address(role);
    const auto path = address.substr(address.find('/', std::string("http://").size()));
    const auto help = get(path + "help.html");
    EXPECT_EQ(statusOf(help), 200);
    EXPECT_NE(help.find("Content-Type: text/html"), std::string::npos);
    EXPECT_NE(help.find("id=\"error.capture_failed\""), std::string::npos);
    EXPECT_EQ(statusOf(get(path + "index.html")), 404);
    EXPECT_EQ(statusOf(get(path + "supporter.html")), 404);
  }
}

TEST_F(WebServerTest, RefusesNamesThatOnlyResolveToThisMachine) {
  const auto portText = std::to_string(port());
  for (const auto& host :
       {std::string("example.com:8765"), std::string("127.0.0.1"), "rebind.example:" + portText,
        "localhost:" + portText, "[::1]:" + portText, authority() + "\r\nHost: " + authority()}) {
    EXPECT_EQ(statusOf(request("GET", root(), host)), 403) << host;
  }
}

TEST_F(WebServerTest, CanOnlyBeRead) {
  EXPECT_EQ(statusOf(request("POST", root(), authority(), "Content-Length: 0\r\n")), 405);
  EXPECT_EQ(statusOf(request("DELETE", root(), authority())), 405);
  const auto head = request("HEAD", root(), authority());
  EXPECT_EQ(statusOf(head), 200);
  EXPECT_EQ(head.find("<title>"), std::string::npos);
}

TEST_F(WebServerTest, OpensWebSocketsForItsOwnPages) {
  const auto own = "Origin: http://" + authority() + "\r\n";
  EXPECT_EQ(statusOf(handshake(root() + "ws", own)), 101);
  EXPECT_EQ(pagesOpened, 1);
  EXPECT_EQ(lastOwner.role, PageRole::customer);
  EXPECT_EQ(statusOf(handshake(supportersRoot() + "ws", own)), 101);
  EXPECT_EQ(pagesOpened, 2);
  EXPECT_EQ(lastOwner.role, PageRole::supporter);
  EXPECT_EQ(statusOf(handshake(root() + "guest-5", own)), 101);
  EXPECT_EQ(lastOwner.role, PageRole::guest);
  EXPECT_EQ(lastOwner.remote, 5U);
}

TEST_F(WebServerTest, HasNothingForAGuestButItsWebSocket) {
  const auto own = "Origin: http://" + authority() + "\r\n";
  EXPECT_EQ(statusOf(request("GET", root() + "guest-5", authority(), own)), 400);
  EXPECT_EQ(statusOf(get(root() + "guest-5/")), 404);
  EXPECT_EQ(statusOf(handshake(supportersRoot() + "guest-5", own)), 404);
  EXPECT_EQ(statusOf(handshake(root() + "guest-x", own)), 404);
  EXPECT_EQ(pagesOpened, 0);
}

TEST_F(WebServerTest, RefusesWebSocketsOfOtherPages) {
  for (const auto* origin : {"", "Origin: null\r\n", "Origin: http://example.com\r\n",
                             "Origin: http://127.0.0.1\r\n", "Origin: http://localhost:8765\r\n"}) {
    EXPECT_EQ(statusOf(handshake(root() + "ws", origin)), 403) << origin;
    EXPECT_EQ(statusOf(handshake(supportersRoot() + "ws", origin)), 403) << origin;
    EXPECT_EQ(statusOf(handshake(root() + "guest-5", origin)), 403) << origin;
  }
  const auto own = "Origin: http://" + authority() + "\r\n";
  EXPECT_EQ(statusOf(handshake("/ws", own)), 404);
  EXPECT_EQ(statusOf(handshake("/" + std::string(32, 'a') + "/ws", own)), 404);
  EXPECT_EQ(pagesOpened, 0);
}

TEST_F(WebServerTest, OpensNoWebSocketWhereThePageIs) {
  EXPECT_EQ(statusOf(handshake(root(), "Origin: http://" + authority() + "\r\n")), 200);
  EXPECT_EQ(pagesOpened, 0);
}

TEST_F(WebServerTest, PlainRequestForTheWebSocketIsRefused) {
  const auto answer =
      request("GET", root() + "ws", authority(), "Origin: http://" + authority() + "\r\n");
  EXPECT_GE(statusOf(answer), 400);
  EXPECT_EQ(pagesOpened, 0);
}

TEST_F(WebServerTest, SecondServerTakesTheNextFreePort) {
  const WebServer second([](const std::unique_ptr<WebSocket>&, const PageOwner&) {});
  EXPECT_NE(second.access().address(PageRole::customer).substr(0, 22), address().substr(0, 22));
  EXPECT_EQ(statusOf(get(root())), 200);
}

TEST_F(WebServerTest, ServesWhoeverKnowsTheTokenWhenStrangersTakeUpEveryPlace) {
  std::vector<FileDescriptor> strangers;
  for (std::size_t count = 0; count < 3 * FrontDoor::connectionsMax; ++count) {
    strangers.push_back(connectTo(port()));
    if (count % 2 == 0) sendAll(strangers.back(), "GET /");
    EXPECT_EQ(statusOf(get(root())), 200);
  }
  // The oldest had to go, the others may still ask.
  EXPECT_TRUE(isClosed(strangers.front()));
  sendAll(strangers.back(), "GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(statusOf(readAnswer(strangers.back(), "never")), 404);
}

TEST_F(WebServerTest, ReadsARequestThatComesInPieces) {
  const auto socket = connectTo(port());
  const auto request =
      "GET " + root() + "customer.js HTTP/1.1\r\nHost: " + authority() + "\r\n\r\n";
  for (const auto character : request) {
    sendAll(socket, std::string_view(&character, 1));
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }
  EXPECT_EQ(statusOf(readAnswer(socket, "never")), 200);
}

TEST_F(WebServerTest, LetsGoOfWhoLeavesInTheMiddleOfARequest) {
  const auto socket = connectTo(port());
  sendAll(socket, "GET /half");
  shutdown(socket.get(), SHUT_WR);
  EXPECT_TRUE(isClosed(socket));
}

class QuickWebServerTest : public WebServerTest {
 protected:
  QuickWebServerTest() : WebServerTest(std::chrono::milliseconds(1)) {}
};

TEST_F(QuickWebServerTest, ConnectionsThatSayNothingOrTooLittleEndInTime) {
  const auto request = "GET " + root() + " HTTP/1.1\r\n";
  for (const auto& start :
       {std::string(), std::string("GET "), request, request + "Host: " + authority() + "\r\n"}) {
    const auto socket = connectTo(port());
    sendAll(socket, start);
    EXPECT_TRUE(isClosed(socket)) << start;
  }
}

}  // namespace
}  // namespace quorvin::webui
