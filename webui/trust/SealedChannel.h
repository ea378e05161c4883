#pragma once

#include <optional>

#include "webui/trust/Secret.h"

namespace quorvin::webui {

enum class Party : std::uint8_t { customer = 1, supporter = 2 };

using Sid = std::array<std::uint8_t, 16>;
using Nonce = std::array<std::uint8_t, 32>;

// What both parties have seen of each other, and no two sessions share.
struct Transcript {
  Sid sid{};
  Nonce supporterNonce{};
  Nonce customerNonce{};
};

// 32 bytes of HKDF with SHA-256 (RFC 5869). docs/invitation.md has the purposes.
[[nodiscard]] Secret<32> deriveKey(ByteView secret, const Transcript& transcript,
                                   std::string_view purpose, ByteView extra = {});

// 33 bits of secret and transcript. `opening` is what the supporter's nonce is the hash of.
using Words = std::array<std::string_view, 3>;
[[nodiscard]] Words wordsToCompare(ByteView secret, const Transcript& transcript, ByteView opening);

// Messages between two parties with a secret, which nobody else reads, makes, repeats, leaves out
// or sends back: AES-256-GCM (NIST SP 800-38D) with a key for each direction and a counter. A
// sealed message is the counter (8 bytes, the most significant first, from 0), what is encrypted,
// and the tag (16 bytes). Throws std::runtime_error when the library fails, as without memory.
class SealedChannel {
 public:
  static constexpr std::size_t messageBytesMax = 16'384;
  static constexpr std::size_t addedBytes = 8 + 16;

  SealedChannel(ByteView secret, const Transcript& transcript, Party self);

  // Nothing for a message that is too long, and after the channel's end.
  [[nodiscard]] std::optional<Bytes> seal(ByteView message);
  // Nothing for everything but the other party's next message, which ends the channel for good.
  [[nodiscard]] std::optional<Bytes> open(ByteView sealed);

 private:
  struct Direction {
    Party from;
    Secret<32> key;
    std::uint64_t counter = 0;
  };

  Direction outward, inward;
  bool over = false;
};

}  // namespace quorvin::webui
