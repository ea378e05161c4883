#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Data.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/GlibPtr.h"
#include "webui/WebSocket.h"
#include "webui/tests/RawRequest.h"
#include "webui/tests/TestLoop.h"

namespace quorvin::webui {
namespace {

using namespace std::string_literals;

constexpr std::size_t messageBytesMax = 64 * 1024;
constexpr std::size_t framesMax = 100;

// A frame as a browser writes it; the mask is that of RFC 6455's examples.
std::string masked(unsigned char first, std::string_view payload) {
  constexpr std::string_view mask = "\x37\xfa\x21\x3d";
  constexpr unsigned maskBit = 0x80;
  std::string frame(1, static_cast<char>(first));
  if (payload.size() < 126) {
    frame += static_cast<char>(maskBit | payload.size());
  } else {
    frame += static_cast<char>(maskBit | 126U);
    frame += static_cast<char>(payload.size() >> 8U);
    frame += static_cast<char>(payload.size() & 0xFFU);
  }
  frame += mask;
  for (std::size_t i = 0; i < payload.size(); ++i) {
    frame += static_cast<char>(payload[i] ^ mask[i % mask.size()]);
  }
  return frame;
}

std::string closing(unsigned code, std::string_view why = "") {
  std::string payload{static_cast<char>(code >> 8U), static_cast<char>(code & 0xFFU)};
  payload += why;
  return "\x88"s + static_cast<char>(payload.size()) + payload;
}

// The server's end is tested, the other is bare bytes.
class WebSocketTest : public testing::Test {
 protected:
  WebSocketTest() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::runtime_error("no socket pair");
    }
    other = FileDescriptor(ends[1]);
    const GlibPtr<GSocket> held(g_socket_new_from_fd(ends[0], nullptr));
    GlibPtr<GIOStream> stream(
        G_IO_STREAM(g_socket_connection_factory_create_connection(held.get())));
    socket = std::make_unique<WebSocket>(std::move(stream), ends[0],
                                         WebSocket::Bounds{messageBytesMax, framesMax});
    socket->listen({[this](std::string_view text) { texts.emplace_back(text); },
                    [this] { ++binaries; },
                    [this] {
                      ++endings;
                      socket.reset();
                    }});
  }

  void put(std::string_view bytes) const { sendAll(other, bytes); }
  static void settle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }
  // What the other end has been sent by now.
  [[nodiscard]] std::string got() const {
    std::string all;
    std::array<char, 65536> buffer{};
    for (;;) {
      settle();
      const auto count = recv(other.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (count <= 0) return all;
      all.append(buffer.data(), static_cast<std::size_t>(count));
    }
  }

  FileDescriptor other;
  std::unique_ptr<WebSocket> socket;
  std::vector<std::string> texts;
  int binaries = 0;
  int endings = 0;
};

TEST_F(WebSocketTest, WritesWhatTheStandardShows) {
  socket->sendText("Hello");
  EXPECT_EQ(got(), "\x81\x05Hello");
  socket->sendText("");
  EXPECT_EQ(got(), "\x81\0"s);
  const Bytes bytes(256, 7);
  socket->sendBinary(bytes);
  EXPECT_EQ(got(), "\x82\x7E\x01\0"s + std::string(256, '\7'));
  socket->sendBinary(Bytes(65'536, 7));
  EXPECT_EQ(got(), "\x82\x7F\0\0\0\0\0\x01\0\0"s + std::string(65'536, '\7'));
}

TEST_F(WebSocketTest, ReadsWhatTheStandardShows) {
  put("\x81\x85\x37\xfa\x21\x3d\x7f\x9f\x4d\x51\x58");
  settle();
  EXPECT_EQ(texts, std::vector<std::string>{"Hello"});
}

TEST_F(WebSocketTest, ReadsByteByByteAndManyAtOnce) {
  for (const char byte : masked(0x81, std::string(300, 'x'))) {
    put({&byte, 1});
    settle();
  }
  put(masked(0x81, "a") + masked(0x81, "") + masked(0x82, "b") + masked(0x81, "c"));
  settle();
  EXPECT_EQ(texts, (std::vector<std::string>{std::string(300, 'x'), "a", "", "c"}));
  EXPECT_EQ(binaries, 1);
}

TEST_F(WebSocketTest, PingBetweenPiecesIsAnswered) {
  put(masked(0x01, "Hel") + masked(0x89, "there?") + masked(0x80, "lo"));
  EXPECT_EQ(got(), "\x8A\x06there?");
  EXPECT_EQ(texts, std::vector<std::string>{"Hello"});
}

TEST_F(WebSocketTest, OtherSidesEndIsAnsweredAndIsOne) {
  put(masked(0x88,
             "\x03\xE8"
             "bye") +
      masked(0x81, "late"));
  EXPECT_EQ(got(), closing(1000, "bye"));
  EXPECT_EQ(endings, 1);
  EXPECT_TRUE(texts.empty());
}

TEST_F(WebSocketTest, OtherSideThatVanishesIsOne) {
  put("\x81");
  other.reset();
  ASSERT_TRUE(runUntil([this] { return endings == 1; }));
  settle();
  EXPECT_EQ(endings, 1);
}

TEST_F(WebSocketTest, SendingToWhoHasVanishedEndsLater) {
  other.reset();
  socket->sendText("anyone?");
  socket->sendText("no");
  EXPECT_EQ(endings, 0);
  ASSERT_TRUE(runUntil([this] { return endings == 1; }));
}

TEST_F(WebSocketTest, ClosesWithAReasonAndEndsLater) {
  socket->close(WebSocket::CloseCode::policyViolation, "too much");
  EXPECT_FALSE(socket->isOpen());
  EXPECT_EQ(endings, 0);
  socket->sendText("nothing follows");
  socket->close(WebSocket::CloseCode::goingAway, "nor this");
  put(masked(0x81, "nor is anything read"));
  EXPECT_EQ(got(), closing(1008, "too much"));
  EXPECT_EQ(endings, 1);
  EXPECT_TRUE(texts.empty());
}

TEST_F(WebSocketTest, SaysThatItGoesAway) {
  socket.reset();
  EXPECT_EQ(got(), closing(1001));
  EXPECT_EQ(endings, 0);
}

TEST_F(WebSocketTest, MessageThatIsTooLongIsRefusedBeforeItHasCome) {
  put(masked(0x01, std::string(40'000, 'x')));
  settle();
  EXPECT_TRUE(socket->isOpen());
  put(masked(0x80, std::string(messageBytesMax - 40'000 + 1, 'x')).substr(0, 9));
  EXPECT_EQ(got(), closing(1009));
  EXPECT_EQ(endings, 1);
}

TEST_F(WebSocketTest, LengthWithoutBoundTakesNoMemory) {
  put("\x82\xFF\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s + "maskx");
  EXPECT_EQ(got(), closing(1009));
}

TEST_F(WebSocketTest, FramesAreBoundedUntilTheyAreForgotten) {
  const auto send = [this](std::size_t count) {
    for (std::size_t sent = 0; sent < count; ++sent) put(masked(0x8A, ""));
    settle();
  };
  send(framesMax);
  socket->forgetFrames();
  send(framesMax);
  EXPECT_TRUE(socket->isOpen());
  send(1);
  EXPECT_EQ(got(), closing(1008, "too many messages"));
}

TEST_F(WebSocketTest, WhatIsNotReadWaitsAndComesWhole) {
  std::string expected;
  for (int count = 0; count < 20; ++count) {
    const Bytes bytes(100'000, static_cast<std::uint8_t>(count));
    socket->sendBinary(bytes);
    expected += "\x82\x7F\0\0\0\0\0\x01\x86\xA0"s + std::string(bytes.begin(), bytes.end());
  }
  EXPECT_TRUE(socket->isOpen());
  EXPECT_TRUE(got() == expected);
}

TEST_F(WebSocketTest, EndDoesNotWaitForWhoDoesNotRead) {
  for (int count = 0; count < 20; ++count) socket->sendBinary(Bytes(100'000, 0));
  socket->close(WebSocket::CloseCode::policyViolation, "the page does not read");
  settle();
  EXPECT_EQ(endings, 1);
}

TEST_F(WebSocketTest, WhoeverSendsWithoutEndLeavesOthersTheirTurn) {
  const auto message = masked(0x81, std::string(50'000, 'x'));
  put(message + message);
  g_main_context_iteration(nullptr, FALSE);
  EXPECT_EQ(texts.size(), 1U);
  settle();
  EXPECT_EQ(texts.size(), 2U);
}

struct Breach {
  std::string bytes;
  std::string answer;
};

class WebSocketBreachTest : public WebSocketTest, public testing::WithParamInterface<Breach> {};

TEST_P(WebSocketBreachTest, IsGivenUp) {
  put(GetParam().bytes);
  EXPECT_EQ(got(), GetParam().answer);
  EXPECT_EQ(endings, 1);
  EXPECT_TRUE(texts.empty());
}

const std::string noReason = "\x88\0"s;

INSTANTIATE_TEST_SUITE_P(
    OfTheStandard, WebSocketBreachTest,
    testing::Values(Breach{"\x81\x05Hello", closing(1002)},    // not masked
                    Breach{masked(0xC1, "x"), closing(1002)},  // a reserved bit
                    Breach{masked(0x80, "x"), closing(1002)},  // goes on with nothing
                    Breach{masked(0x83, "x"), closing(1002)},  // no such opcode
                    Breach{masked(0x01, "x") + masked(0x81, "y"), closing(1002)},
                    Breach{masked(0x81, "\xC3\x28"), closing(1007)},  // no UTF-8
                    Breach{masked(0x81, "\xC3"), closing(1007)},      // half of a character
                    Breach{masked(0x88, "\x03\xE7"), closing(1002)},  // no such reason
                    Breach{masked(0x09, ""), noReason},               // a ping in pieces
                    Breach{masked(0x89, std::string(126, 'x')), noReason},
                    Breach{"\x81\xFE\0\x05maskHello"s, noReason}));  // a length that is too long

}  // namespace
}  // namespace quorvin::webui
