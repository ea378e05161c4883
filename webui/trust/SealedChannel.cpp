#include "webui/trust/SealedChannel.h"

#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "webui/trust/WordList.h"

namespace quorvin::webui {

namespace {

constexpr std::size_t counterBytes = 8;
constexpr std::size_t tagBytes = 16;
static_assert(wordList.size() == 2048 && !wordList.back().empty());

Secret<32> hmac(ByteView key, std::initializer_list<ByteView> parts) {
  crypto_auth_hmacsha256_state state;
  crypto_auth_hmacsha256_init(&state, key.data(), key.size());
  for (const auto part : parts) crypto_auth_hmacsha256_update(&state, part.data(), part.size());
  Secret<32> code;
  crypto_auth_hmacsha256_final(&state, code.bytes().data());
  sodium_memzero(&state, sizeof state);
  return code;
}

std::string_view purposeOf(Party from) {
  return from == Party::customer ? "customer to supporter" : "supporter to customer";
}

void must(bool done) {
  if (!done) throw std::runtime_error("the cryptographic library failed");
}

using Counter = std::array<std::uint8_t, counterBytes>;
Counter encoded(std::uint64_t counter) {
  Counter bytes{};
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, counter >>= 8U) {
    *byte = static_cast<std::uint8_t>(counter);
  }
  return bytes;
}

// Encrypts or decrypts `from` to `to`, which is as long, and makes the tag or compares it.
bool applyCipher(bool encrypts, Party sender, const Secret<32>& key, const Counter& counter,
                 ByteView from, std::uint8_t* to, std::uint8_t* tag) {
  const Bytes nonce = joined({Bytes(4), counter});
  const Bytes header = joined({Bytes{static_cast<std::uint8_t>(sender)}, counter});
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> owned(EVP_CIPHER_CTX_new(),
                                                                              EVP_CIPHER_CTX_free);
  auto* cipher = owned.get();
  const auto size = static_cast<int>(from.size());
  int length = 0;
  must(cipher != nullptr &&
       EVP_CipherInit_ex(cipher, EVP_aes_256_gcm(), nullptr, key.bytes().data(), nonce.data(),
                         encrypts ? 1 : 0) == 1 &&
       (encrypts || EVP_CIPHER_CTX_ctrl(cipher, EVP_CTRL_AEAD_SET_TAG, tagBytes, tag) == 1) &&
       EVP_CipherUpdate(cipher, nullptr, &length, header.data(), 1 + counterBytes) == 1 &&
       EVP_CipherUpdate(cipher, to, &length, from.data(), size) == 1);
  const bool fits = EVP_CipherFinal_ex(cipher, nullptr, &length) == 1;
  must(!encrypts ||
       (fits && EVP_CIPHER_CTX_ctrl(cipher, EVP_CTRL_AEAD_GET_TAG, tagBytes, tag) == 1));
  return fits;
}

}  // namespace

Secret<32> deriveKey(ByteView secret, const Transcript& transcript, std::string_view purpose,
                     ByteView extra) {
  const Bytes salt = joined({transcript.sid, transcript.supporterNonce, transcript.customerNonce});
  // One block is enough, and its number is 1.
  return hmac(hmac(salt, {secret}).bytes(),
              {bytesOf("quorvin-support/1 "), bytesOf(purpose), extra, Bytes{1}});
}

Words wordsToCompare(ByteView secret, const Transcript& transcript, ByteView opening) {
  const auto key = deriveKey(secret, transcript, "words", opening);
  std::uint64_t bits = 0;
  for (const auto byte : key.bytes().first<5>()) bits = bits << 8U | byte;
  const auto word = [&](unsigned shift) {
    return wordList[(bits >> shift) % wordList.size()];
  };
  return {word(29), word(18), word(7)};  // the first 33 of 40 bits
}

SealedChannel::SealedChannel(ByteView secret, const Transcript& transcript, Party self)
    : outward{self, deriveKey(secret, transcript, purposeOf(self))},
      inward{self == Party::customer ? Party::supporter : Party::customer, {}} {
  inward.key = deriveKey(secret, transcript, purposeOf(inward.from));
}

std::optional<Bytes> SealedChannel::seal(ByteView message) {
  if (over || message.size() > messageBytesMax) return std::nullopt;
  const auto counter = encoded(outward.counter++);
  Bytes sealed = joined({counter, message, Bytes(tagBytes)});
  applyCipher(true, outward.from, outward.key, counter, message, sealed.data() + counterBytes,
              sealed.data() + counterBytes + message.size());
  return sealed;
}

std::optional<Bytes> SealedChannel::open(ByteView sealed) {
  const auto counter = encoded(inward.counter);
  if (!over && sealed.size() >= addedBytes && sealed.size() <= addedBytes + messageBytesMax &&
      std::ranges::equal(sealed.first(counterBytes), counter)) {
    Bytes tag = joined({sealed.last(tagBytes)});
    Bytes message(sealed.size() - addedBytes);
    if (applyCipher(false, inward.from, inward.key, counter,
                    sealed.subspan(counterBytes, message.size()), message.data(), tag.data())) {
      ++inward.counter;
      return message;
    }
  }
  over = true;
  outward.key.wipe();
  inward.key.wipe();
  return std::nullopt;
}

}  // namespace quorvin::webui
