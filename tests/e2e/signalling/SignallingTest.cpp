#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/ChildProgram.h"
#include "tests/e2e/signalling/TestBroker.h"
#include "webui/remote/SignallingLink.h"
#include "webui/tests/TestLoop.h"
#include "webui/tests/remote/TestListener.h"

namespace quorvin::webui {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

RemoteConfig at(int port, const std::string& host = "127.0.0.1") {
  RemoteConfig config;
  config.broker = {.isEncrypted = false, .host = host, .port = static_cast<std::uint16_t>(port)};
  return config;
}

RemoteConfig encryptedAt(int port, const std::string& caFile,
                         const std::string& host = "127.0.0.1") {
  auto config = at(port, host);
  config.broker.isEncrypted = true;
  config.caFile = caFile;
  return config;
}

// quorvin-signalling, and the link to it.
class Client {
 public:
  explicit Client(const RemoteConfig& config) {
    const auto before = childrenOf(getpid());
    link.emplace(startSignalling(QUORVIN_SIGNALLING, config),
                 [](auto bytes) { randombytes_buf(bytes.data(), bytes.size()); });
    const auto after = childrenOf(getpid());
    const auto started = std::ranges::find_if(
        after, [&](pid_t child) { return std::ranges::find(before, child) == before.end(); });
    if (started != after.end()) process = *started;
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() {
    link.reset();
    EXPECT_TRUE(hasEnded());
  }

  // As a machine that loses power does.
  void kill() const {
    ASSERT_NE(process, 0);
    ::kill(process, SIGKILL);
  }
  // Whether it does soon.
  [[nodiscard]] bool hasEnded() const {
    return runUntil([this] { return process == 0 || ::waitpid(process, nullptr, WNOHANG) != 0; });
  }

  std::optional<SignallingLink> link;
  pid_t process = 0;  // or 0 when it had ended before it was looked for
};

bool becomes(const Listener& listener, Reach reach) {
  return runUntil([&] { return listener.reach() == reach; });
}

bool hears(const Listener& listener, const Bytes& envelope) {
  return runUntil(
      [&] { return std::ranges::find(listener.messages, envelope) != listener.messages.end(); });
}

TEST(Signalling, CarriesEnvelopesBothWaysInOrder) {
  const TestBroker broker;
  Client customers(at(broker.port()));
  Client supporters(at(broker.port()));
  Listener customer(*customers.link, 1);
  Listener supporter(*supporters.link, 2);
  ASSERT_TRUE(becomes(customer, Reach::open));
  ASSERT_TRUE(becomes(supporter, Reach::open));
  const std::string filler(SealedChannel::messageBytesMax + SealedChannel::addedBytes, 'x');
  std::vector<Bytes> said;
  for (int number = 0; number < 50; ++number) {
    said.push_back(envelopeFor(2, (std::to_string(number) + filler.substr(5)).c_str()));
    customer.place->send(said.back());
  }
  ASSERT_TRUE(runUntil([&] { return supporter.messages.size() == said.size(); }));
  EXPECT_EQ(supporter.messages, said);
  supporter.place->send(envelopeFor(1, "back"));
  EXPECT_TRUE(hears(customer, envelopeFor(1, "back")));
}

TEST(Signalling, TellsWhatWasSentLastBeforeItLeaves) {
  const TestBroker broker;
  Client customers(at(broker.port()));
  Client supporters(at(broker.port()));
  Listener customer(*customers.link, 1);
  ASSERT_TRUE(becomes(customer, Reach::open));
  customer.place->watch(nonceOf(2));
  {
    Listener supporter(*supporters.link, 2);
    ASSERT_TRUE(becomes(supporter, Reach::open));
    for (int number = 0; number < 50; ++number) supporter.place->send(envelopeFor(1, "bye"));
  }
  ASSERT_TRUE(runUntil([&] { return customer.timesGone > 0; }));
  EXPECT_EQ(customer.messages, std::vector(50, envelopeFor(1, "bye")));

  // So does a program that ends in order.
  std::optional<Client> ending(std::in_place, at(broker.port()));
  auto last = std::make_unique<Listener>(*ending->link, 3);
  ASSERT_TRUE(becomes(*last, Reach::open));
  customer.place->watch(nonceOf(3));
  customer.place->send(envelopeFor(3, "watching"));
  ASSERT_TRUE(hears(*last, envelopeFor(3, "watching")));
  last->place->send(envelopeFor(1, "ended"));
  ASSERT_TRUE(hears(customer, envelopeFor(1, "ended")));
  last.reset();
  ending.reset();
  EXPECT_TRUE(runUntil([&] { return customer.timesGone == 2; }));
}

TEST(Signalling, TellsWhenAClientWasKilled) {
  const TestBroker broker;
  Client customers(at(broker.port()));
  Client supporters(at(broker.port()));
  Listener customer(*customers.link, 1);
  Listener supporter(*supporters.link, 2);
  ASSERT_TRUE(becomes(customer, Reach::open));
  ASSERT_TRUE(becomes(supporter, Reach::open));
  customer.place->watch(nonceOf(2));
  supporter.place->watch(nonceOf(1));
  customer.place->send(envelopeFor(2, "watching"));
  ASSERT_TRUE(hears(supporter, envelopeFor(2, "watching")));
  supporters.kill();
  EXPECT_TRUE(runUntil([&] { return customer.timesGone == 1; }));
  EXPECT_TRUE(becomes(supporter, Reach::unreachable));
}

TEST(Signalling, GivesAPlaceToOneOnly) {
  const TestBroker broker;
  Client client(at(broker.port()));
  Listener first(*client.link, 1, "4829");
  ASSERT_TRUE(becomes(first, Reach::open));
  Listener second(*client.link, 2, "4829");
  EXPECT_TRUE(becomes(second, Reach::placeTaken));
  EXPECT_THAT(second.reaches, ElementsAre(Reach::placeTaken));
  Listener elsewhere(*client.link, 3, "4830");
  EXPECT_TRUE(becomes(elsewhere, Reach::open));
  first.place->send(envelopeFor(2, "by link"));
  EXPECT_TRUE(hears(second, envelopeFor(2, "by link")));
  EXPECT_THAT(first.reaches, ElementsAre(Reach::open));
}

TEST(Signalling, GivesAPlaceToOneOfTwoWhoComeAtOnce) {
  const TestBroker broker;
  Client client(at(broker.port()));
  for (std::uint8_t number = 1; number < 9; number += 2) {
    const auto digits = "100" + std::to_string(number);
    Listener one(*client.link, number, digits);
    Listener other(*client.link, number + 1, digits);
    ASSERT_TRUE(runUntil([&] { return !one.reaches.empty() && !other.reaches.empty(); }));
    EXPECT_NE(one.reach(), other.reach());
  }
}

TEST(Signalling, ComesBackWhenTheBrokerDoes) {
  TestBroker broker;
  Client client(at(broker.port()));
  Listener customer(*client.link, 1);
  Listener supporter(*client.link, 2);
  ASSERT_TRUE(becomes(customer, Reach::open));
  ASSERT_TRUE(becomes(supporter, Reach::open));
  customer.place->watch(nonceOf(2));
  broker.stop();
  ASSERT_TRUE(becomes(customer, Reach::unreachable));
  ASSERT_TRUE(becomes(supporter, Reach::unreachable));
  EXPECT_NE(customer.detail, "");
  broker.start();
  ASSERT_TRUE(becomes(customer, Reach::open));
  ASSERT_TRUE(becomes(supporter, Reach::open));
  supporter.place->send(envelopeFor(1, "still there"));
  EXPECT_TRUE(hears(customer, envelopeFor(1, "still there")));
  supporter.place.reset();
  EXPECT_TRUE(runUntil([&] { return customer.timesGone == 1; }));
}

TEST(Signalling, BelievesTheRightCertificateOnly) {
  const TestCertificate right;
  const TestCertificate wrong;
  const TestBroker broker(right.settings());
  const auto reached = [&](const RemoteConfig& config, Reach expected) {
    Client client(config);
    Listener listener(*client.link, 1);
    EXPECT_TRUE(becomes(listener, expected)) << listener.detail;
    return listener.detail;
  };
  EXPECT_EQ(reached(encryptedAt(broker.port(), right.file()), Reach::open), "");
  EXPECT_THAT(reached(encryptedAt(broker.port(), wrong.file()), Reach::certificateWrong),
              HasSubstr("self-signed certificate"));
  // By the system's certificates.
  EXPECT_THAT(reached(encryptedAt(broker.port(), ""), Reach::certificateWrong),
              HasSubstr("self-signed certificate"));
  EXPECT_THAT(
      reached(encryptedAt(broker.port(), right.file(), "localhost"), Reach::certificateWrong),
      HasSubstr("hostname mismatch"));

  const TestBroker plain;
  EXPECT_NE(reached(encryptedAt(plain.port(), right.file()), Reach::unreachable), "");
}

TEST(Signalling, SaysWhyNothingIsReached) {
  const auto nobody = FreePort().number;
  const TestCertificate certificate;
  for (const auto& config : {at(nobody), encryptedAt(nobody, certificate.file())}) {
    Client noBroker(config);
    Listener listener(*noBroker.link, 1);
    EXPECT_TRUE(becomes(listener, Reach::unreachable));
    EXPECT_EQ(listener.detail, "Connection refused");
  }

  Client noHost(at(nobody, "nobody.invalid"));
  Listener second(*noHost.link, 1);
  EXPECT_TRUE(becomes(second, Reach::unreachable));
  EXPECT_EQ(second.detail, "Lookup error.");

  const TestBroker closed("allow_anonymous false");
  Client stranger(at(closed.port()));
  Listener third(*stranger.link, 1);
  EXPECT_TRUE(becomes(third, Reach::refused));
  EXPECT_THAT(third.detail, HasSubstr("not authorised"));
}

// A broker that lets everybody in, and nobody listen.
TEST(Signalling, IsToldWhenItMayNotListen) {
  FreePort port;
  Client client(at(port.number));
  Listener listener(*client.link, 1);
  const FileDescriptor accepted(::accept(port.socket.get(), nullptr, nullptr));
  std::array<std::uint8_t, 512> heard{};
  ASSERT_GT(::recv(accepted.get(), heard.data(), heard.size(), 0), 0);
  constexpr std::array<std::uint8_t, 4> welcome{0x20, 2, 0, 0};
  ASSERT_EQ(::send(accepted.get(), welcome.data(), welcome.size(), MSG_NOSIGNAL), 4);
  ASSERT_GT(::recv(accepted.get(), heard.data(), heard.size(), 0), 4);
  const std::array<std::uint8_t, 5> failure{0x90, 3, heard[2], heard[3], 0x80};
  ASSERT_EQ(::send(accepted.get(), failure.data(), failure.size(), MSG_NOSIGNAL), 5);
  EXPECT_TRUE(becomes(listener, Reach::refused));
}

// Says a file's content to the client whom `sidOf` of 1 names.
void publish(const TestBroker& broker, const std::string& file, const std::string& option) {
  ChildProgram publisher;
  publisher.words = {QUORVIN_MOSQUITTO_PUB,
                     "-p",
                     std::to_string(broker.port()),
                     option,
                     "-f",
                     file,
                     "-q",
                     "1",
                     "-t",
                     "quorvin/1/01010101010101010101010101010101"};
  int status = -1;
  ::waitpid(startProgram(std::move(publisher)), &status, 0);
  ASSERT_EQ(status, 0);
}

TEST(Signalling, PassesOnNothingThatIsKeptOrTooLong) {
  const TestBroker broker;
  const TemporaryFolder folder;
  publish(broker, folder.write("kept", "kept"), "--retain");
  const auto program = startSignalling(QUORVIN_SIGNALLING, at(broker.port()));
  const auto listen = writePacket(SignallingWord::listen, 1, idOf(1));
  ASSERT_EQ(::send(program.get(), listen.data(), listen.size(), 0),
            static_cast<ssize_t>(listen.size()));
  PacketBuffer buffer{};
  ssize_t size = 0;
  const auto hasSaid = [&](SignallingWord word) {
    return runUntil([&] {
             size = receivePacket(program.get(), buffer, MSG_DONTWAIT);
             return size >= 0;
           }) &&
           buffer[0] == static_cast<std::uint8_t>(word);
  };
  ASSERT_TRUE(hasSaid(SignallingWord::reach));
  constexpr auto notKept = "--quiet";
  publish(broker, folder.write("long", std::string(envelopeBytesMax + 1, 'x')), notKept);
  publish(broker, folder.write("longest", std::string(envelopeBytesMax, 'x')), notKept);
  ASSERT_TRUE(hasSaid(SignallingWord::message));
  EXPECT_EQ(size, static_cast<ssize_t>(packetBytesMax));
}

TEST(Signalling, FindsItsBrokerByName) {
  const TestBroker broker;
  Client client(at(broker.port(), "localhost"));
  Listener listener(*client.link, 1);
  EXPECT_TRUE(becomes(listener, Reach::open)) << listener.detail;
}

TEST(Signalling, NeedsCertificatesThatAreThere) {
  Client client(encryptedAt(1, "/nowhere.pem"));
  EXPECT_TRUE(client.hasEnded());
  Listener listener(*client.link, 1);
  EXPECT_TRUE(becomes(listener, Reach::unreachable));
}

TEST(Signalling, IsMissedWhenItIsNotThere) {
  EXPECT_THROW((void)startSignalling("/nowhere/quorvin-signalling", at(1)), std::runtime_error);
}

}  // namespace
}  // namespace quorvin::webui
