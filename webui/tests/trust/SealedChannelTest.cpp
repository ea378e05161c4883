#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <set>

#include "webui/tests/trust/Hex.h"
#include "webui/trust/SealedChannel.h"
#include "webui/trust/WordList.h"

namespace quorvin::webui {
namespace {

const Bytes secret(32, 7);
const Transcript transcript{{1}, {2}, {3}};

std::string opened(SealedChannel& channel, ByteView sealed) {
  const auto message = channel.open(sealed);
  return message ? textOf(*message) : "nothing";
}

struct Pair {
  SealedChannel customer{secret, transcript, Party::customer};
  SealedChannel supporter{secret, transcript, Party::supporter};

  Bytes sent(std::string_view message) { return supporter.seal(bytesOf(message)).value(); }
  // What the customer refuses ends the channel in both directions, for good.
  void expectEnd(ByteView sealed) {
    EXPECT_EQ(opened(customer, sealed), "nothing");
    EXPECT_FALSE(customer.seal({}));
    EXPECT_EQ(
        opened(customer, SealedChannel(secret, transcript, Party::supporter).seal({}).value()),
        "nothing");
  }
};

TEST(SealedChannel, CarriesMessagesBothWays) {
  Pair pair;
  for (const std::string_view text : {"one", "", "three"}) {
    EXPECT_EQ(opened(pair.customer, pair.sent(text)), text);
    EXPECT_EQ(opened(pair.supporter, pair.customer.seal(bytesOf(text)).value()), text);
  }
}

TEST(SealedChannel, ShowsOnlyTheCounterAndTheLength) {
  Pair pair;
  const auto first = pair.sent("candidate"), second = pair.sent("candidate");
  EXPECT_EQ(first.size(), 9 + SealedChannel::addedBytes);
  EXPECT_EQ(textOf(first).find("candidate"), std::string::npos);
  EXPECT_EQ(joined({ByteView(first).first(8)}), (Bytes{0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(joined({ByteView(second).first(8)}), (Bytes{0, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_NE(joined({ByteView(first).subspan(8)}), joined({ByteView(second).subspan(8)}));
}

TEST(SealedChannel, EndsWhenAMessageIsRepeated) {
  Pair pair;
  const auto first = pair.sent("one");
  EXPECT_EQ(opened(pair.customer, first), "one");
  pair.expectEnd(first);
}

TEST(SealedChannel, EndsWhenAMessageIsMissing) {
  Pair pair;
  (void)pair.sent("one");
  pair.expectEnd(pair.sent("two"));
}

TEST(SealedChannel, EndsWhenTwoMessagesChangePlaces) {
  Pair pair;
  const auto first = pair.sent("one"), second = pair.sent("two");
  EXPECT_EQ(opened(pair.customer, second), "nothing");
  pair.expectEnd(first);
}

TEST(SealedChannel, EndsWhenTheCounterIsMadeToFit) {
  Pair pair;
  (void)pair.sent("one");
  auto second = pair.sent("two");
  second[7] = 0;
  pair.expectEnd(second);
}

TEST(SealedChannel, EndsWhenAnyBitDiffers) {
  for (std::size_t bit = 0; bit < 8 * (3 + SealedChannel::addedBytes); ++bit) {
    Pair pair;
    auto sealed = pair.sent("one");
    sealed[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    pair.expectEnd(sealed);
  }
}

TEST(SealedChannel, EndsWhenAMessageIsCutOrLonger) {
  for (std::size_t length = 0; length <= 4 + SealedChannel::addedBytes; ++length) {
    Pair pair;
    auto sealed = pair.sent("one");
    if (length == sealed.size()) continue;
    sealed.resize(length);
    pair.expectEnd(sealed);
  }
}

TEST(SealedChannel, EndsWhenAMessageComesBackToItsSender) {
  Pair pair;
  pair.expectEnd(pair.customer.seal(bytesOf("one")).value());
}

TEST(SealedChannel, EndsWhenAnythingOfTheSessionDiffers) {
  auto otherSid = transcript, otherSupporter = transcript, otherCustomer = transcript;
  otherSid.sid[15] = 1;
  otherSupporter.supporterNonce[31] = 1;
  otherCustomer.customerNonce[31] = 1;
  for (const auto& other : {otherSid, otherSupporter, otherCustomer}) {
    Pair pair;
    pair.expectEnd(SealedChannel(secret, other, Party::supporter).seal(bytesOf("one")).value());
  }
  Pair pair;
  pair.expectEnd(
      SealedChannel(Bytes(32, 8), transcript, Party::supporter).seal(bytesOf("one")).value());
}

TEST(SealedChannel, TakesMessagesUpToItsBound) {
  Pair pair;
  const Bytes longest(SealedChannel::messageBytesMax, 'x');
  EXPECT_EQ(opened(pair.customer, pair.supporter.seal(longest).value()), textOf(longest));
  EXPECT_FALSE(pair.supporter.seal(Bytes(longest.size() + 1)));
  EXPECT_EQ(opened(pair.customer, pair.sent("next")), "next");
}

TEST(SealedChannel, EndsWhenASealedMessageIsTooLong) {
  // As only somebody with the key could make it, whose own side has no bound.
  const auto key = deriveKey(secret, transcript, "supporter to customer");
  for (const std::size_t length :
       {SealedChannel::messageBytesMax, SealedChannel::messageBytesMax + 1}) {
    const Bytes nonce(12), header{2, 0, 0, 0, 0, 0, 0, 0, 0}, message(length, 'x');
    Bytes sealed(8 + length + 16);
    int written = 0;
    auto* cipher = EVP_CIPHER_CTX_new();
    EVP_EncryptInit(cipher, EVP_aes_256_gcm(), key.bytes().data(), nonce.data());
    EVP_EncryptUpdate(cipher, nullptr, &written, header.data(), 9);
    EVP_EncryptUpdate(cipher, sealed.data() + 8, &written, message.data(),
                      static_cast<int>(length));
    EVP_EncryptFinal(cipher, sealed.data(), &written);
    EVP_CIPHER_CTX_ctrl(cipher, EVP_CTRL_AEAD_GET_TAG, 16, sealed.data() + 8 + length);
    EVP_CIPHER_CTX_free(cipher);
    Pair pair;
    if (length > SealedChannel::messageBytesMax) {
      pair.expectEnd(sealed);
    } else {
      EXPECT_EQ(opened(pair.customer, sealed), textOf(message));
    }
  }
}

TEST(DeriveKey, GivesEachPurposeAKeyOfItsOwn) {
  std::set<std::string> keys;
  for (const auto* purpose : {"customer to supporter", "supporter to customer", "resumption"}) {
    keys.insert(toHex(deriveKey(secret, transcript, purpose).bytes()));
  }
  keys.insert(toHex(deriveKey(secret, transcript, "resumption", Bytes{0}).bytes()));
  EXPECT_EQ(keys.size(), 4U);
}

TEST(WordsToCompare, DependOnEverything) {
  const Bytes opening(32, 1);
  auto other = transcript;
  other.customerNonce[0] ^= 1U;
  const auto words = wordsToCompare(secret, transcript, opening);
  EXPECT_EQ(words, wordsToCompare(secret, transcript, opening));
  EXPECT_NE(words, wordsToCompare(secret, other, opening));
  EXPECT_NE(words, wordsToCompare(secret, transcript, Bytes(32, 2)));
  EXPECT_NE(words, wordsToCompare(Bytes(32, 8), transcript, opening));
}

TEST(WordList, HasWordsThatCannotBeTakenForEachOther) {
  std::set<std::string_view> beginnings;
  for (const auto word : wordList) {
    EXPECT_TRUE(word.size() >= 4 && word.size() <= 7) << word;
    EXPECT_EQ(word.find_first_not_of("abcdefghijklmnopqrstuvwxyz"), std::string_view::npos) << word;
    beginnings.insert(word.substr(0, 4));
  }
  EXPECT_EQ(beginnings.size(), 2048U);
}

TEST(Secret, IsWipedWhenItIsDropped) {
  std::optional<Secret<32>> secret32(std::in_place);
  std::ranges::fill(secret32->bytes(), 0xAA);
  // Its place stays, and whoever reads memory does not ask what lives there.
  const volatile std::uint8_t* place = secret32->bytes().data();
  ASSERT_EQ(place[31], 0xAA);
  secret32.reset();
  for (int index = 0; index < 32; ++index) EXPECT_EQ(place[index], 0) << index;
}

TEST(Secret, LeavesNothingWhereItMovesFrom) {
  Secret<4> from;
  std::ranges::fill(from.bytes(), 0xAA);
  const Secret<4> to(std::move(from));
  EXPECT_EQ(toHex(to.bytes()), "aaaaaaaa");
  EXPECT_EQ(toHex(from.bytes()), "00000000");  // NOLINT(bugprone-use-after-move)
}

}  // namespace
}  // namespace quorvin::webui
