// Whoever shares the computer with the customer, or has got hold of a page, against the program
// that serves it.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/ChildProgram.h"
#include "tests/attacks/WebUiUnderAttack.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

constexpr uid_t strangersNumber = 65534;
constexpr auto attackTime = std::chrono::seconds(3);
constexpr std::size_t growthMaxKib = std::size_t{32} * 1024;

bool isAnswered(const std::string& answer, int status) {
  return answer.find("HTTP/1.1 " + std::to_string(status)) == 0;
}

// --- Another user

// Another user of the machine, where the tests run as root; otherwise another process of this one.
class Stranger {
 public:
  // Reads every command line, over and over, until what it reads holds `enough` or time is up. The
  // file that it saw is tried as well.
  explicit Stranger(const std::string& enough) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    findings = FileDescriptor(ends[0]);
    FileDescriptor report(ends[1]);
    const auto parent = ::getpid();
    process = forkChild();
    if (process != 0) return;
    if (::geteuid() == 0 && (::setgid(strangersNumber) != 0 || ::setuid(strangersNumber) != 0)) {
      ::_exit(1);
    }
    endWithParent(parent);
    const auto said = look(enough);
    std::ignore = ::write(report.get(), said.data(), said.size());
    ::_exit(0);
  }
  Stranger(const Stranger&) = delete;
  Stranger& operator=(const Stranger&) = delete;
  ~Stranger() {
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
  }

  [[nodiscard]] std::string found() const {
    std::string text;
    std::array<char, 4096> chunk{};
    ssize_t count = 0;
    while ((count = ::read(findings.get(), chunk.data(), chunk.size())) > 0) {
      text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  static std::string look(const std::string& enough) {
    std::set<std::string> words;
    std::ignore = comesTrue(
        [&] {
          for (const auto& entry : fs::directory_iterator("/proc")) {
            std::istringstream line(contentOf(entry.path() / "cmdline"));
            for (std::string word; std::getline(line, word, '\0');) {
              if (word.find("://") != std::string::npos || word.find(enough) != std::string::npos) {
                words.insert(word);
              }
            }
          }
          return std::ranges::any_of(
              words, [&](const auto& word) { return word.find(enough) != std::string::npos; });
        },
        std::chrono::seconds(10));
    std::string said;
    for (const auto& word : words) {
      said += word + "\n";
      constexpr std::string_view scheme = "file://";
      said += contentOf(word.starts_with(scheme) ? word.substr(scheme.size()) : word);
    }
    return said;
  }

  FileDescriptor findings;
  pid_t process = -1;
};

// A desktop whose browser writes down what it is asked to open.
std::vector<std::string> desktopWithBrowser(const TemporaryFolder& folder) {
  fs::permissions(folder.path(), fs::perms::owner_all | fs::perms::others_exec);
  const auto browser = folder.writeScript(
      "browser", "echo \"$*\" > \"$0.new\" && mv \"$0.new\" \"$0.asked\"\nsleep 2\n");
  fs::create_directories(folder.path("data/applications"));
  std::ignore = folder.write("data/applications/browser.desktop",
                             "[Desktop Entry]\nType=Application\nName=Browser\nExec=" + browser +
                                 " %u\nMimeType=x-scheme-handler/http;\n");
  fs::create_directories(folder.path("settings"));
  std::ignore = folder.write("settings/mimeapps.list",
                             "[Default Applications]\nx-scheme-handler/http=browser.desktop\n");
  return {"XDG_DATA_HOME=" + folder.path("data").string(),
          "XDG_CONFIG_HOME=" + folder.path("settings").string()};
}

TEST(WebUiAttack, CommandLinesHoldNothingThatLetsAnotherUserIn) {
  const TemporaryFolder desktop;
  const Stranger stranger("page-");
  const AttackedWebUi webUi(desktopWithBrowser(desktop));
  const auto seen = stranger.found();
  ASSERT_NE(seen.find(webUi.addressFile.string()), std::string::npos)
      << "the attack did not see the browser's command line, but: " << seen;
  if (::geteuid() == 0) {
    EXPECT_EQ(seen.find(webUi.token), std::string::npos) << seen;
  }
  // The browser itself gets there.
  ASSERT_TRUE(comesTrue([&] { return fs::exists(desktop.path("browser.asked")); }));
  EXPECT_EQ(contentOf(desktop.path("browser.asked")).find(webUi.token), std::string::npos);
  EXPECT_NE(contentOf(webUi.addressFile).find(webUi.token), std::string::npos);
}

TEST(WebUiAttack, UnattendedRunsKeepTheirAddressForTheirUserOnly) {
  std::vector<std::string> settings;
  const TemporaryFolder home;
  fs::create_directories(home.path("com.quorvin.support"));
  std::ignore = home.write("com.quorvin.support/defaults.ini",
                           "[defaults]\nunattendedAccessEnabled=true\n"
                           "unattendedAccessDeviceName=Till 4\n");
  AttackedWebUi webUi({"XDG_CONFIG_HOME=" + home.path().string()}, {"--unattended"});
  EXPECT_TRUE(webUi.servesItsUser());
  EXPECT_EQ(fs::status(webUi.addressFile).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(fs::status(webUi.addressFile.parent_path()).permissions(), fs::perms::owner_all);
  webUi.host->send(SIGTERM);
  EXPECT_EQ(webUi.host->statusWithin(), 0) << webUi.host->errorOutput();
  EXPECT_FALSE(fs::exists(webUi.addressFile));
}

// --- Without the token

class WebUiAttackOnTheDoor : public testing::Test {
 protected:
  // Of the open descriptors of this process.
  static void allowDescriptors(rlim_t count) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(count, limit.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }

  AttackedWebUi webUi;
};

TEST_F(WebUiAttackOnTheDoor, IdleConnectionsKeepNobodyOut) {
  constexpr std::size_t connections = 1100;
  allowDescriptors(2 * connections);
  const auto page = webUi.openPage();
  {
    std::vector<Wire> idle;
    while (idle.size() < connections) {
      idle.emplace_back(webUi.port);
      if (idle.size() % 100 != 0) continue;
      EXPECT_TRUE(webUi.servesItsUser()) << idle.size();
    }
    EXPECT_LT(std::distance(fs::directory_iterator(folderOf(webUi.program()) / "fd"),
                            fs::directory_iterator()),
              100);
  }
  EXPECT_TRUE(webUi.servesItsUser());
  EXPECT_TRUE(page->say(webSocketFrame(wholeText, R"({"id":9,"method":"nothing"})")));
  EXPECT_NE(page->hear("\"id\":9").find("\"id\":9"), std::string::npos);
}

TEST_F(WebUiAttackOnTheDoor, RunningOutOfDescriptorsPasses) {
  const auto program = webUi.program();
  const auto used = static_cast<rlim_t>(
      std::distance(fs::directory_iterator(folderOf(program) / "fd"), fs::directory_iterator()));
  // As good as none left.
  rlimit former{};
  const rlimit few{used + 4, used + 4};
  ASSERT_EQ(::prlimit(program, RLIMIT_NOFILE, &few, &former), 0);
  {
    std::vector<Wire> idle;
    for (int count = 0; count < 30; ++count) idle.emplace_back(webUi.port);
    EXPECT_TRUE(comesTrue([&] { return webUi.servesItsUser(); }));
  }
  EXPECT_TRUE(webUi.servesItsUser());
}

TEST_F(WebUiAttackOnTheDoor, SlowHeadsKeepNobodyOut) {
  std::vector<Wire> slow;
  const auto head = webUi.request("/" + std::string(32, '0') + "/").substr(0, 40);
  for (int count = 0; count < 60; ++count) slow.emplace_back(webUi.port);
  for (const auto byte : head) {
    for (const auto& wire : slow) std::ignore = wire.say(std::string_view(&byte, 1));
  }
  EXPECT_TRUE(webUi.servesItsUser());
}

TEST_F(WebUiAttackOnTheDoor, NothingIsServedButTheOneAddress) {
  const auto root = webUi.root();
  const auto portText = std::to_string(webUi.port);
  std::vector<std::string> requests;
  for (const auto& target :
       {std::string("/"), std::string("*"), std::string("//"), "/" + webUi.token, "/." + root,
        "/x/.." + root, "/%2e" + root, root + "customer.js/", root + "./", root + "?", root + "#",
        root + "..%2f", "http://" + webUi.authority() + root, "http://" + webUi.authority(),
        root + std::string(2000, 'x'), "\\" + webUi.token + "\\",
        "/" + std::string(32, '0') + "/"}) {
    requests.push_back(webUi.request(target));
  }
  for (const auto& host :
       {"localhost:" + portText, "[::1]:" + portText, std::string("127.0.0.1"),
        "0.0.0.0:" + portText, std::string("127.0.0.1:1"), "example.com:" + portText, std::string(),
        webUi.authority() + "\r\nHost: example.com", webUi.authority() + "/"}) {
    requests.push_back("GET " + root + " HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
  }
  for (const auto* method :
       {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "get", "PRI"}) {
    requests.push_back(std::string(method) + " " + root +
                       " HTTP/1.1\r\nHost: " + webUi.authority() + "\r\nContent-Length: 0\r\n\r\n");
  }
  for (const auto& head :
       {"GET " + root + " HTTP/1.0\r\n\r\n", "GET " + root + "\r\n\r\n",
        "\r\n" + webUi.request(root), "GET\t" + root + "\tHTTP/1.1\r\n\r\n",
        "GET " + root + " HTTP/1.1\r\n\r\n",
        "GET " + root + " HTTP/1.1\r\nHost: " + webUi.authority() +
            "\r\nX: " + std::string(100'000, 'x') + "\r\n\r\n",
        std::string(5000, 'x'), std::string(64, '\0') + "\n", std::string("\n")}) {
    requests.push_back(head);
  }
  for (const auto& request : requests) {
    const auto answer = webUi.answer(request);
    EXPECT_EQ(answer.find(" 200 "), std::string::npos) << request.substr(0, 200);
    EXPECT_EQ(answer.find("<title>"), std::string::npos) << request.substr(0, 200);
  }
  EXPECT_TRUE(webUi.servesItsUser());
}

TEST_F(WebUiAttackOnTheDoor, PagesOfOthersGetNoWebSocket) {
  const auto portText = std::to_string(webUi.port);
  for (const auto& origin : {std::string("null"), std::string("http://example.com"), std::string(),
                             "http://localhost:" + portText, "https://" + webUi.authority(),
                             "http://" + webUi.authority() + ".example.com",
                             "http://" + webUi.authority() + "\r\nOrigin: http://example.com"}) {
    EXPECT_TRUE(isAnswered(webUi.answer(webUi.handshake(origin)), 403)) << origin;
  }
  auto keyless = webUi.handshake("http://" + webUi.authority());
  keyless.erase(keyless.find("Sec-WebSocket-Key"), 45);
  EXPECT_TRUE(isAnswered(webUi.answer(keyless), 400));
}

TEST_F(WebUiAttackOnTheDoor, OneConnectionServesOneRequest) {
  const auto answer =
      webUi.answer(webUi.request(webUi.root() + "customer.js") + webUi.request(webUi.root()) +
                   webUi.handshake("http://" + webUi.authority()));
  EXPECT_EQ(answer.find("<title>"), std::string::npos);
  EXPECT_EQ(answer.find(" 101 "), std::string::npos);
}

TEST_F(WebUiAttackOnTheDoor, GuessingLeadsNowhere) {
  const auto deadline = std::chrono::steady_clock::now() + attackTime;
  int guesses = 0;
  for (; guesses < 2000 && std::chrono::steady_clock::now() < deadline; ++guesses) {
    auto guess = webUi.token;
    auto& digit = guess[static_cast<std::size_t>(guesses) % guess.size()];
    digit = digit == '0' ? '1' : '0';
    ASSERT_TRUE(isAnswered(webUi.answer(webUi.request("/" + guess + "/")), 404)) << guess;
  }
  EXPECT_GT(guesses, 20);
  EXPECT_TRUE(webUi.servesItsUser());
}

// --- With the token

class WebUiAttackByAPage : public WebUiAttackOnTheDoor {
 protected:
  // Says it again and again, and reads nothing, until the server has had enough.
  bool isStopped(Wire& wire, const std::string& bytes, std::size_t bytesMax) const {
    for (std::size_t said = 0; said < bytesMax; said += bytes.size()) {
      if (!wire.say(bytes)) return true;
      highestKib = std::max(highestKib, webUi.residentKib());
    }
    return false;
  }
  void expectNothingTaken() const {
    EXPECT_LT(std::max(highestKib, webUi.residentKib()), firstKib + growthMaxKib);
    EXPECT_TRUE(webUi.servesItsUser());
  }
  static std::string many(const std::string& bytes, std::size_t times) {
    std::string all;
    for (std::size_t count = 0; count < times; ++count) all += bytes;
    return all;
  }

  static constexpr std::size_t attackBytes = std::size_t{256} * 1024 * 1024;
  std::size_t firstKib = webUi.residentKib();
  mutable std::size_t highestKib = 0;
};

TEST_F(WebUiAttackByAPage, MessageInPiecesIsBounded) {
  const auto page = webUi.openPage();
  ASSERT_TRUE(page->say(webSocketFrame(firstOfText, "\"")));
  const auto piece = webSocketFrame(furtherPiece, std::string(60'000, 'x'));
  EXPECT_TRUE(isStopped(*page, many(piece, 20), attackBytes));
  expectNothingTaken();
}

TEST_F(WebUiAttackByAPage, PiecesOfNothingAreBounded) {
  const auto page = webUi.openPage();
  ASSERT_TRUE(page->say(webSocketFrame(firstOfText, "\"")));
  EXPECT_TRUE(isStopped(*page, many(webSocketFrame(furtherPiece, ""), 10'000), attackBytes));
  expectNothingTaken();
}

TEST_F(WebUiAttackByAPage, AnswersNeverReadAreBounded) {
  const auto page = webUi.openPage();
  const auto call = webSocketFrame(wholeText, R"({"id":1,"method":"capabilities"})");
  EXPECT_TRUE(isStopped(*page, many(call, 1000), attackBytes));
  expectNothingTaken();
}

TEST_F(WebUiAttackByAPage, PingsWhoseAnswersAreNeverReadAreBounded) {
  const auto page = webUi.openPage();
  const auto ping = webSocketFrame(wholePing, std::string(125, 'x'));
  EXPECT_TRUE(isStopped(*page, many(ping, 1000), attackBytes));
  expectNothingTaken();
}

TEST_F(WebUiAttackByAPage, SupportersPageStartsNothingAndGetsNoFurther) {
  const auto customers = webUi.token;
  const auto answer = webUi.answer(webUi.request(webUi.root() + "supporter"));
  ASSERT_TRUE(isAnswered(answer, 302)) << answer;
  const auto place = answer.find("Location: http://" + webUi.authority() + "/");
  ASSERT_NE(place, std::string::npos) << answer;
  webUi.token = answer.substr(answer.find(webUi.authority() + "/") + webUi.authority().size() + 1,
                              customers.size());
  ASSERT_NE(webUi.token, customers);
  EXPECT_TRUE(isAnswered(webUi.answer(webUi.request(webUi.root())), 200));
  EXPECT_FALSE(webUi.servesItsUser());
  for (const auto* path : {"customer", "index.html", "supporter", "..", "../"}) {
    EXPECT_TRUE(isAnswered(webUi.answer(webUi.request(webUi.root() + path)), 404)) << path;
  }
  const auto page = webUi.openPage();
  for (const auto* call :
       {R"({"id":9,"method":"startCapture","arguments":{"locallyAuthorized":true}})",
        R"({"id":9,"method":"requestPermissions"})", R"({"control":true})"}) {
    ASSERT_TRUE(page->say(webSocketFrame(wholeText, call)));
  }
  ASSERT_TRUE(page->say(webSocketFrame(wholeText, R"({"id":10,"method":"nothing"})")));
  const auto heard = page->hear("\"id\":10");
  EXPECT_EQ(heard.find("\"session\":\"starting\""), std::string::npos) << heard;
  EXPECT_EQ(heard.find("\"result\""), std::string::npos) << heard;
  EXPECT_NE(heard.find("not_allowed"), std::string::npos) << heard;
  EXPECT_EQ(heard.find(customers), std::string::npos);
  webUi.token = customers;
  EXPECT_TRUE(webUi.servesItsUser());
}

TEST_F(WebUiAttackByAPage, EightPagesAreEnough) {
  std::vector<std::unique_ptr<Wire>> pages;
  for (int count = 0; count < 8; ++count) pages.push_back(webUi.openPage());
  for (int count = 0; count < 30; ++count) {
    Wire surplus(webUi.port);
    ASSERT_TRUE(surplus.say(webUi.handshake("http://" + webUi.authority())));
    EXPECT_NE(surplus.hear("too many pages").find("too many pages"), std::string::npos);
    EXPECT_TRUE(surplus.isClosed());
  }
  EXPECT_TRUE(webUi.servesItsUser());
  pages.clear();
  EXPECT_TRUE(comesTrue([&] {
    try {
      return webUi.openPage() != nullptr;
    } catch (const std::runtime_error&) {
      return false;
    }
  }));
}

}  // namespace
}  // namespace quorvin
