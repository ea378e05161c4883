#include "webui/trust/Invitation.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace quorvin::webui {

namespace {

constexpr std::size_t placeDigits = 4;
constexpr std::size_t passwordDigits = 6;

void decline(const Nonce& nonce, Decline reason, Invitation::Effects& effects) {
  const auto byte = static_cast<std::uint8_t>(reason);
  effects.send.push_back(writeEnvelope(Kind::declined, nonce, {&byte, 1}));
}

std::string base64Url(ByteView bytes) {
  constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::string text(sodium_base64_encoded_len(bytes.size(), variant), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), variant);
  text.pop_back();  // the zero that ends it
  return text;
}

// Whether a supporter has begun with the hash of what it shows now.
bool opens(const Hello& hello, const Nonce& nonce) {
  Nonce hash{};
  crypto_hash_sha256(hash.data(), hello.opening.data(), hello.opening.size());
  return sodium_memcmp(hash.data(), nonce.data(), hash.size()) == 0;
}

void requireLibrary() {
  if (sodium_init() < 0) throw std::runtime_error("the cryptographic library is of no use");
}

}  // namespace

Invitation::Invitation(RandomBytes randomBytes, Time now)
    : random(std::move(randomBytes)), currentDeadline(now + validFor) {
  requireLibrary();
  random(ownInbox);
  random(passwords[Way::link].bytes());
  makeCode();
}

Invitation::Invitation(RandomBytes randomBytes, const DeviceLink& device)
    : random(std::move(randomBytes)), standing(true), ownInbox(device.inbox) {
  requireLibrary();
  std::ranges::copy(device.secret.bytes(), passwords[Way::link].bytes().begin());
}

void Invitation::makeCode() {
  // Of 64 bits, so that all codes are equally likely to one part in 10^9.
  Secret<8> bits;
  random(bits.bytes());
  std::uint64_t number = 0;
  for (const auto byte : bits.bytes()) number = number << 8U | byte;
  for (; codePlace.size() < placeDigits; number /= 10) {
    codePlace += static_cast<char>('0' + number % 10);
  }
  for (auto& digit : passwords[Way::code].bytes().first<passwordDigits>()) {
    digit = static_cast<std::uint8_t>('0' + number % 10);
    number /= 10;
  }
}

void Invitation::withdrawCode() {
  passwords.erase(Way::code);
  codePlace.clear();
}

std::string Invitation::code() const {
  const auto found = passwords.find(Way::code);
  if (found == passwords.end()) return {};
  const auto digits = found->second.bytes().first<passwordDigits>();
  return (codePlace + std::string(digits.begin(), digits.end())).insert(6, " ").insert(3, " ");
}

std::string Invitation::link(std::string_view page) const {
  const auto found = passwords.find(Way::link);
  if (found == passwords.end()) return {};
  return std::string(page) + "#1." + base64Url(ownInbox) + "." + base64Url(found->second.bytes());
}

Invitation::Effects Invitation::receive(ByteView bytes, Time now) {
  Effects effects = timePassed(now);
  const auto envelope = readEnvelope(bytes);
  if (!envelope) return effects;
  const auto isOf = [&](const std::optional<Attempt>& attempt) {
    return attempt && attempt->transcript.supporterNonce == envelope->nonce;
  };
  const bool joins = envelope->kind == Kind::join;
  if (envelope->version != envelopeVersion) {
    if (joins) decline(envelope->nonce, Decline::version, effects);
  } else if (joins && !isOf(candidate) && !isOf(guest)) {  // brokers may deliver twice
    onJoin(*envelope, effects);
  } else if (envelope->kind == Kind::sealed && isOf(guest)) {
    onMessage(envelope->rest, now, effects);
  } else if (envelope->kind == Kind::sealed && isOf(candidate)) {
    auto attempt = *std::exchange(candidate, std::nullopt);
    onHello(std::move(attempt), envelope->rest, now, effects);
  }
  return effects;
}

void Invitation::onJoin(const Envelope& join, Effects& effects) {
  if (join.rest.size() != 1 + std::tuple_size_v<CpaceElement>) return;
  if (!passwords.contains(static_cast<Way>(join.rest[0]))) {
    return decline(join.nonce, reasonAgainstJoining(), effects);
  }
  Bytes offer;
  auto attempt = meet(join, offer);
  if (!attempt) return decline(join.nonce, Decline::wrong, effects);
  if (candidate) decline(candidate->transcript.supporterNonce, Decline::taken, effects);
  candidate = std::move(attempt);
  effects.send.push_back(std::move(offer));
}

Decline Invitation::reasonAgainstJoining() const {
  if (current == Stage::expired) return Decline::expired;
  if (current == Stage::tooManyTries) return Decline::tooManyTries;
  return guest ? Decline::taken : Decline::over;
}

std::optional<Invitation::Attempt> Invitation::meet(const Envelope& join, Bytes& offer) {
  const auto way = static_cast<Way>(join.rest[0]);
  CpaceElement share{};
  std::ranges::copy(join.rest.subspan(1), share.begin());
  Transcript transcript{sidOf(ownInbox), join.nonce, {}};
  random(transcript.customerNonce);
  const ByteView password = passwords.at(way).bytes();
  const std::string name = way == Way::link   ? "link"
                           : way == Way::code ? "code " + codePlace
                                              : "resumption";
  const Cpace cpace({way == Way::code ? password.first(passwordDigits) : password,
                     joined({bytesOf("quorvin-support/1 "), bytesOf(name)}), join.nonce},
                    random);
  auto key = cpace.key(CpaceRole::responder,
                       joined({bytesOf("customer"), transcript.sid, transcript.customerNonce}),
                       share, bytesOf("supporter"));
  if (!key) return std::nullopt;
  offer = writeEnvelope(Kind::offer, join.nonce,
                        joined({transcript.sid, transcript.customerNonce, cpace.share()}));
  SealedChannel channel(key->bytes(), transcript, Party::customer);
  return Attempt{way, transcript, *std::move(key), std::move(channel)};
}

void Invitation::onHello(Attempt attempt, ByteView content, Time now, Effects& effects) {
  const auto message = attempt.channel.open(content);
  const auto hello = message ? readHello(*message) : std::nullopt;
  if (!hello || !opens(*hello, attempt.transcript.supporterNonce)) {
    const bool tooMany = !standing && attempt.way != Way::resumption && ++tries == triesMax;
    if (tooMany) finish(Stage::tooManyTries);
    return decline(attempt.transcript.supporterNonce,
                   tooMany ? Decline::tooManyTries : Decline::wrong, effects);
  }
  guest = std::move(attempt);
  if (guest->way == Way::resumption) {
    guest->key.wipe();
    advance(Stage::connected, std::nullopt);
    effects.resumed = true;
    return sendSealed(R"({"type":"resumed"})", effects);
  }
  passwords.clear();
  advance(Stage::asking, now + questionFor);
  effects.ask =
      Question{hello->name, wordsToCompare(guest->key.bytes(), guest->transcript, hello->opening)};
}

void Invitation::onMessage(ByteView content, Time now, Effects& effects) {
  if (current == Stage::asking) return finish(Stage::ended);  // it has to wait for the answer
  if (current != Stage::connected) return;
  effects.message = guest->channel.open(content);
  if (!effects.message) lose(now, effects);
}

Invitation::Effects Invitation::timePassed(Time now) {
  Effects effects;
  if (!currentDeadline || now < *currentDeadline) return effects;
  if (current == Stage::waiting) {
    if (candidate) decline(candidate->transcript.supporterNonce, Decline::expired, effects);
    finish(Stage::expired);
  } else if (current == Stage::asking) {
    sendSealed(R"({"type":"refused"})", effects);
    finish(Stage::refused);
  } else {
    finish(Stage::gone);
  }
  return effects;
}

Invitation::Effects Invitation::answer(Answer answer, Time now) {
  Effects effects = timePassed(now);
  if (current != Stage::asking) return effects;
  if (answer == Answer::refuse) {
    sendSealed(R"({"type":"refused"})", effects);
    finish(Stage::refused);
    return effects;
  }
  const std::string control = answer == Answer::control ? "true" : "false";
  sendSealed(
      R"({"type":"allowed","control":)" + control + R"(,"inbox":")" + base64Url(ownInbox) + R"("})",
      effects);
  passwords[Way::resumption] = deriveKey(guest->key.bytes(), guest->transcript, "resumption");
  guest->key.wipe();
  advance(Stage::connected, std::nullopt);
  return effects;
}

std::optional<Bytes> Invitation::seal(ByteView message) {
  if (current != Stage::connected) return std::nullopt;
  const auto sealed = guest->channel.seal(message);
  if (!sealed) return std::nullopt;
  return writeEnvelope(Kind::sealed, guest->transcript.supporterNonce, *sealed);
}

void Invitation::sendSealed(std::string_view message, Effects& effects) {
  if (const auto sealed = guest->channel.seal(bytesOf(message))) {
    effects.send.push_back(writeEnvelope(Kind::sealed, guest->transcript.supporterNonce, *sealed));
  }
}

Invitation::Effects Invitation::networkLost(Time now) {
  Effects effects = timePassed(now);
  if (current == Stage::connected) lose(now, effects);
  return effects;
}

void Invitation::lose(Time now, Effects& effects) {
  advance(Stage::lost, now + lostFor);
  decline(guest->transcript.supporterNonce, Decline::lost, effects);
}

void Invitation::advance(Stage stage, std::optional<Time> deadline) {
  current = stage;
  currentDeadline = deadline;
}

void Invitation::finish(Stage stage) {
  advance(stage, std::nullopt);
  passwords.clear();
  candidate.reset();
  guest.reset();
}

}  // namespace quorvin::webui
