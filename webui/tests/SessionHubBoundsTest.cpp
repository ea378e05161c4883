// What a page may take of this program, and for how long the program believes that it is there.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "webui/tests/SessionHubTest.h"

namespace quorvin::webui {
namespace {

using nlohmann::json;

// A frame of a text message as a browser would write it, with a mask of zeros.
std::string textFrame(bool first, bool last, const std::string& payload) {
  constexpr char finBit = '\x80';
  std::string frame(1, static_cast<char>((first ? 1 : 0) | (last ? finBit : 0)));
  if (payload.size() < 126) {
    frame += static_cast<char>(finBit | static_cast<char>(payload.size()));
  } else {
    frame += static_cast<char>(finBit | 126);
    frame += static_cast<char>(payload.size() >> 8U);
    frame += static_cast<char>(payload.size() & 0xFFU);
  }
  return frame + std::string(4, '\0') + payload;
}

TEST_F(SessionHubTest, MessageInPiecesCountsAsAWhole) {
  const auto page = openPage();
  const auto other = openPage();
  page->sendRaw(textFrame(true, false, R"({"id":4,"method":)"));
  page->sendRaw(textFrame(false, true, R"("nothing"})"));
  EXPECT_FALSE(page->waitFor({{"id", 4}}).is_null());
  page->sendRaw(textFrame(true, false, std::string(pageMessageBytesMax / 2, 'x')));
  page->sendRaw(textFrame(false, false, std::string(pageMessageBytesMax / 2, 'x')));
  settle(*other);
  EXPECT_FALSE(page->closed);
  page->sendRaw(textFrame(false, false, "x"));
  ASSERT_TRUE(runUntil([&] { return page->closed; }));
  EXPECT_EQ(page->closeCode, SOUP_WEBSOCKET_CLOSE_TOO_BIG);
}

TEST_F(SessionHubTest, PageThatSendsWithoutEndIsGivenUp) {
  const auto page = openPage();
  const auto other = openPage();
  page->answers = false;
  std::string flood;
  for (int count = 0; count < 1000; ++count) flood += textFrame(true, true, R"({"ack":1})");
  for (std::size_t sent = 0; sent <= pageFramesMax && !page->closed; sent += 1000) {
    page->sendRaw(flood);
    settle(*other);
  }
  ASSERT_TRUE(runUntil([&] { return page->closed; }));
  EXPECT_EQ(page->closeCode, SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION);
  EXPECT_EQ(page->closeReason, "too many messages");
}

TEST_F(SessionHubTest, PageThatReadsNothingIsGivenUp) {
  const auto page = openPage();
  page->answers = false;
  constexpr std::size_t callBytes = 60'000;
  host.answer("permissions", Value(std::string(callBytes, 'x')));
  std::size_t calls = 0;
  for (; calls < 1000 && !page->closed; ++calls) {
    page->send(R"({"id":)" + std::to_string(calls) + R"(,"method":"permissions"})");
    runUntil([&] { return page->closed || !page->find({{"id", calls}}).is_null(); });
    page->texts.clear();
  }
  EXPECT_GE(calls * callBytes, PageConnection::unreadBytesMax);
  EXPECT_LE(calls * callBytes, PageConnection::unreadBytesMax + 2 * callBytes);
  EXPECT_EQ(page->closeCode, SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION);
  EXPECT_EQ(page->closeReason, "the page does not read");
}

TEST_F(SessionHubTest, PageThatAcknowledgesWhatItHasNotReadGetsTwoPicturesAtMost) {
  const auto page = openLivePage();
  page->answers = false;
  const Bytes picture(PageConnection::unreadBytesMax, 0xFF);
  const auto frame = encodeEventLinkFrame("com.quorvin.support/frames", Data(Bytes(picture)));
  for (std::size_t number = 1; number <= 2; ++number) {
    page->send(R"({"ack":1000})");
    settle(*page);
    constexpr std::size_t piece = 60'000;
    for (std::size_t start = 0; start < frame.size(); start += piece) {
      host.sendBytes(std::span(frame).subspan(start, std::min(piece, frame.size() - start)));
      while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
      }
    }
    ASSERT_TRUE(runUntil([&] { return page->frames.size() == number; }));
  }
  page->send(R"({"id":5,"method":"nothing"})");
  ASSERT_TRUE(runUntil([&] { return page->closed; }));
  EXPECT_EQ(page->closeReason, "the page does not read");
}

TEST_F(SessionHubTest, PageThatReadsMayGetAnyAmount) {
  const auto page = openPage();
  constexpr std::size_t callBytes = 60'000;
  host.answer("permissions", Value(std::string(callBytes, 'x')));
  for (std::size_t calls = 0; calls * callBytes < 3 * PageConnection::unreadBytesMax; ++calls) {
    page->send(R"({"id":)" + std::to_string(calls) + R"(,"method":"permissions"})");
    ASSERT_FALSE(page->waitFor({{"id", calls}}).is_null());
    page->texts.clear();
  }
  EXPECT_GT(page->questions, 0);
}

TEST_F(SessionHubTest, OnePageTooManyIsToldSo) {
  std::vector<std::unique_ptr<TestPage>> pages;
  for (int count = 0; count < 8; ++count) {
    pages.push_back(openPage());
    settle(*pages.back());
  }
  const auto surplus = openPage();
  ASSERT_TRUE(runUntil([&] { return surplus->closed; }));
  EXPECT_EQ(surplus->closeCode, SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION);
  EXPECT_EQ(surplus->closeReason, "too many pages");
  pages.pop_back();
  auto next = openPage();
  runUntil([&] {
    if (next->closed) next = openPage();
    return !next->find({{"session", "idle"}}).is_null();
  });
  settle(*next);
}

// Asks without a pause, so that it is the page that decides.
class AskingSessionHubTest : public SessionHubTest {
 protected:
  explicit AskingSessionHubTest(
      std::chrono::milliseconds absenceMax = SessionHub::customerAbsenceMax)
      : SessionHubTest(absenceMax, std::chrono::milliseconds(1)) {}
};

TEST_F(AskingSessionHubTest, PageThatAnswersKeepsItsSession) {
  const auto page = openLivePage();
  ASSERT_TRUE(runUntil([&] { return page->questions > 100; }));
  settle(*page);
  EXPECT_EQ(host.count("stopCapture"), 0U);
}

TEST_F(AskingSessionHubTest, PageThatDoesNotAnswerIsGivenUp) {
  const auto page = openPage();
  page->answers = false;
  ASSERT_TRUE(runUntil([&] { return page->closed; }));
  EXPECT_EQ(page->closeCode, SOUP_WEBSOCKET_CLOSE_GOING_AWAY);
  EXPECT_EQ(page->closeReason, "the page does not answer");
}

TEST_F(AskingSessionHubTest, WrongAnswersAreNone) {
  const auto page = openPage();
  page->answers = false;
  runUntil([&] {
    if (!page->closed) page->send(R"({"answer":"00000000000000000000000000000000"})");
    return page->closed;
  });
  EXPECT_EQ(page->closeReason, "the page does not answer");
}

class HungPageTest : public SessionHubTest {
 protected:
  HungPageTest() : SessionHubTest(std::chrono::milliseconds(1), std::chrono::milliseconds(100)) {}
};

TEST_F(HungPageTest, StopButtonOfAPageThatHangsDoesNotCount) {
  const auto page = openLivePage();
  const auto supporter = openPage();
  page->answers = false;
  EXPECT_EQ(supporter->waitForSession("ended")["error"]["code"], "customer_absent");
  EXPECT_FALSE(page->closed);
}

TEST_F(HungPageTest, PageThatAnswersLateIsAskedAgain) {
  const auto page = openPage();
  page->answers = false;
  ASSERT_TRUE(runUntil([&] { return page->questions == 1; }));
  const json answer{{"answer", page->lastWord}};
  page->answers = true;
  page->send(answer.dump());
  ASSERT_TRUE(runUntil([&] { return page->questions > 2; }));
  EXPECT_FALSE(page->closed);
}

}  // namespace
}  // namespace quorvin::webui
