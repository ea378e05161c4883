#pragma once

#include <optional>
#include <string>

#include "webui/trust/Cpace.h"
#include "webui/trust/SealedChannel.h"

namespace quorvin::webui {

// By which a client is known to a broker, and what is for it is addressed: the inbox of a
// customer's side, which is told nobody but whoever was invited, or the first half of a supporter's
// nonce.
using ClientId = std::array<std::uint8_t, 16>;
[[nodiscard]] std::string idText(const ClientId& id);  // 32 hexadecimal digits
// What may be told everybody: the first half of SHA-256 of that text.
[[nodiscard]] Sid sidOf(const ClientId& id);

// What travels over a broker; docs/invitation.md has the bytes.
enum class Kind : std::uint8_t {
  join = 1,
  offer = 2,
  sealed = 3,
  declined = 4,
  claim = 5,  // this and the next are between customers, about a place at a broker
  claimed = 6,
};

// How a supporter shows that it was invited; a resumption follows on one that was allowed.
enum class Way : std::uint8_t { link = 1, code = 2, resumption = 3 };

enum class Decline : std::uint8_t {
  version = 1,  // the customer's side speaks another one
  wrong = 2,    // not this link or code
  expired = 3,
  tooManyTries = 4,  // and void from now on
  taken = 5,         // by another supporter
  over = 6,          // refused or ended
  lost = 7,          // the channel has ended: resume
};

struct Envelope {
  std::uint8_t version;
  Kind kind;
  Nonce nonce;    // the supporter's, by which both know the attempt
  ByteView rest;  // of the bytes that were read
};
inline constexpr std::uint8_t envelopeVersion = 1;

// Nothing for what is too short for the head that all versions have.
[[nodiscard]] std::optional<Envelope> readEnvelope(ByteView bytes);
[[nodiscard]] Bytes writeEnvelope(Kind kind, const Nonce& nonce, ByteView rest);

// A supporter's first sealed message.
struct Hello {
  // As it may be shown: 1 to 64 characters (code points), none of them invisible or changing the
  // direction of others, and single spaces between them.
  std::string name;
  Nonce opening{};  // what the supporter's nonce is the hash of
};
[[nodiscard]] std::optional<Hello> readHello(ByteView message);

}  // namespace quorvin::webui
