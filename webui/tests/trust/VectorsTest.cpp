// What both ends have to agree on, byte by byte: made here of given random bytes, and compared with
// tests/vectors/trust.json, which the supporter's page is tried with as well. After a change that
// is meant to alter it, QUORVIN_WRITE_VECTORS=1 writes that file anew.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "webui/tests/trust/TestSupporter.h"

namespace quorvin::webui {
namespace {

using nlohmann::json;

// Numbers from `first` on, one more each.
Bytes counted(std::size_t count, std::uint8_t first) {
  Bytes bytes(count);
  for (auto& byte : bytes) byte = first++;
  return bytes;
}

json keys() {
  const Transcript transcript{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const Bytes secret = counted(64, 100), opening = counted(32, 200);
  json made{{"secret", toHex(secret)},
            {"sid", toHex(transcript.sid)},
            {"supporterNonce", toHex(transcript.supporterNonce)},
            {"customerNonce", toHex(transcript.customerNonce)},
            {"opening", toHex(opening)},
            {"words", wordsToCompare(secret, transcript, opening)}};
  for (const auto* purpose : {"customer to supporter", "supporter to customer", "resumption"}) {
    made["purposes"][purpose] = toHex(deriveKey(secret, transcript, purpose).bytes());
  }
  for (const auto& [name, party] :
       {std::pair("customer", Party::customer), {"supporter", Party::supporter}}) {
    SealedChannel channel(secret, transcript, party);
    for (const auto& message : {bytesOf("first"), ByteView(), bytesOf("third")}) {
      made["sealed"][name].push_back(toHex(channel.seal(message).value()));
    }
  }
  return made;
}

// Of passwords around and far above the length from which on there is no padding.
json generators() {
  json made;
  for (const auto length : std::vector<std::size_t>{0, 106, 107, 108, 109, 127, 128, 300}) {
    const Bytes password = counted(length, 0), other = counted(length, 1);
    made[std::to_string(length)] = toHex(cpaceGenerator({password, other, other}));
  }
  return made;
}

// A whole session, as both ends write it.
json session(Invitation& invitation, TestSupporter& supporter, const Bytes& random) {
  json made{{"random", toHex(random)}};
  const auto join = supporter.join();
  const auto offer = invitation.receive(join, {}).send.at(0);
  EXPECT_TRUE(supporter.accept(offer));
  const auto hello = supporter.hello("Zo\xC3\xAB");
  const auto said = invitation.receive(hello, {});
  made["words"] = supporter.words();
  made["key"] = toHex(supporter.sharedKey());
  const auto verdict =
      said.ask ? invitation.answer(Invitation::Answer::control, {}).send.at(0) : said.send.at(0);
  made["understood"] = supporter.open(verdict);
  const auto question = supporter.seal("from the supporter");
  EXPECT_EQ(textOf(invitation.receive(question, {}).message.value()), "from the supporter");
  const auto answer = invitation.seal(bytesOf("from the customer")).value();
  EXPECT_EQ(supporter.open(answer), "from the customer");
  for (const auto& [name, bytes] : {std::pair("join", join),
                                    {"offer", offer},
                                    {"hello", hello},
                                    {"verdict", verdict},
                                    {"supporter", question},
                                    {"customer", answer}}) {
    made[name] = toHex(bytes);
  }
  return made;
}

json sessions() {
  json made;
  const Bytes random = counted(16 + 32 + 8 + 4 * 32, 1);
  const auto supporters = counted(2 * 64, 50);
  const Bytes first = joined({ByteView(supporters).first(64)});
  const Bytes second = joined({ByteView(supporters).last(64)});
  const Invitation::Time start;
  Invitation byCode(GivenBytes(random), start), byLink(GivenBytes(random), start);
  made["code"] = byCode.code();
  made["link"] = byLink.link("https://place.example/");
  auto withCode = TestSupporter::withCode(byCode.code(), GivenBytes(first));
  auto withLink = TestSupporter::withLink(byLink.link(""), GivenBytes(first));
  made["byCode"] = session(byCode, withCode, first);
  made["byLink"] = session(byLink, withLink, first);
  auto again = withLink.resuming(GivenBytes(second));
  made["resumed"] = session(byLink, again, second);
  return made;
}

TEST(TrustVectors, AreWhatTheOtherEndHasThem) {
  const json made{{"generators", generators()}, {"keys", keys()}, {"sessions", sessions()}};
  if (std::getenv("QUORVIN_WRITE_VECTORS") != nullptr) {
    std::ofstream(std::string(QUORVIN_VECTORS) + "/trust.json") << made.dump(1) << '\n';
  }
  EXPECT_EQ(made.dump(1), readVectors("trust.json").dump(1));
}

}  // namespace
}  // namespace quorvin::webui
