#pragma once

#include <algorithm>
#include <optional>
#include <string>

#include "webui/tests/trust/Hex.h"
#include "webui/trust/Invitation.h"

namespace quorvin::webui {

// The supporter's half, as supporter/trust/guest.js has it.
class TestSupporter {
 public:
  TestSupporter(Way way, Bytes password, std::string channel, RandomBytes random = systemRandom)
      : way(way),
        password(std::move(password)),
        channelName("quorvin-support/1 " + channel),
        random(std::move(random)) {}
  static TestSupporter withCode(std::string digits, RandomBytes random = systemRandom) {
    std::erase(digits, ' ');
    const auto password = bytesOf(digits).subspan(4);
    return {Way::code, joined({password}), "code " + digits.substr(0, 4), std::move(random)};
  }
  static TestSupporter withLink(const std::string& link, RandomBytes random = systemRandom) {
    Bytes secret(32);
    const auto text = link.substr(link.rfind('.') + 1);
    sodium_base642bin(secret.data(), secret.size(), text.data(), text.size(), nullptr, nullptr,
                      nullptr, sodium_base64_VARIANT_URLSAFE_NO_PADDING);
    return {Way::link, secret, "link", std::move(random)};
  }
  TestSupporter resuming(RandomBytes fresh = systemRandom) const {
    return {Way::resumption, joined({deriveKey(key->bytes(), transcript, "resumption").bytes()}),
            "resumption", std::move(fresh)};
  }

  Bytes join() {
    random(opening);
    crypto_hash_sha256(transcript.supporterNonce.data(), opening.data(), opening.size());
    run.emplace(CpaceInputs{password, bytesOf(channelName), transcript.supporterNonce}, random);
    return joined({Bytes{1, 1}, transcript.supporterNonce, Bytes{static_cast<std::uint8_t>(way)},
                   run->share()});
  }
  // False when it is no offer to this supporter.
  bool accept(ByteView offer) {
    if (offer.size() != 114 || offer[1] != 2) return false;
    std::ranges::copy(offer.subspan(34, 16), transcript.sid.begin());
    std::ranges::copy(offer.subspan(50, 32), transcript.customerNonce.begin());
    CpaceElement share{};
    std::ranges::copy(offer.subspan(82), share.begin());
    key = run->key(CpaceRole::initiator, bytesOf("supporter"), share,
                   joined({bytesOf("customer"), transcript.sid, transcript.customerNonce}));
    if (key) channel.emplace(key->bytes(), transcript, Party::supporter);
    return key.has_value();
  }
  std::string helloText(const std::string& name) const {
    return nlohmann::ordered_json{
        {"type", "hello"}, {"name", name}, {"opening", base64Url(opening)}}
        .dump();
  }
  Bytes hello(const std::string& name) { return seal(helloText(name)); }
  Bytes seal(std::string_view message) {
    return joined(
        {Bytes{1, 3}, transcript.supporterNonce, channel->seal(bytesOf(message)).value()});
  }
  // What a sealed envelope of the customer says; "declined N" for one that declines; "" for others.
  std::string open(ByteView envelope) {
    if (envelope.size() < 35 || !std::ranges::equal(envelope.subspan(2, 32), nonce())) return "";
    if (envelope[1] == 4) return "declined " + std::to_string(envelope[34]);
    const auto message = envelope[1] == 3 ? channel->open(envelope.subspan(34)) : std::nullopt;
    return message ? textOf(*message) : "";
  }
  Words words() const { return wordsToCompare(key->bytes(), transcript, opening); }
  ByteView sharedKey() const { return key->bytes(); }
  const Nonce& nonce() const { return transcript.supporterNonce; }

  Transcript transcript;
  std::optional<SealedChannel> channel;

 private:
  Way way;
  Bytes password;
  std::string channelName;
  RandomBytes random;
  Nonce opening{};
  std::optional<Cpace> run;
  std::optional<Secret<64>> key;
};

}  // namespace quorvin::webui
