#pragma once

#include <optional>

#include "webui/trust/Secret.h"

namespace quorvin::webui {

// CPace makes a strong key of a password that can be guessed: whoever takes part gets one guess for
// each run, whoever listens none. This is CPACE-RISTR255-SHA512 of draft-irtf-cfrg-cpace-21
// (https://datatracker.ietf.org/doc/draft-irtf-cfrg-cpace/) between an initiator and a responder,
// over the group of RFC 9496. The draft's names are PRS, CI and sid.
struct CpaceInputs {
  ByteView password;
  ByteView channel;
  ByteView session;  // never the same again
};
using CpaceElement = std::array<std::uint8_t, 32>;  // encoded
enum class CpaceRole { initiator, responder };

[[nodiscard]] CpaceElement cpaceGenerator(const CpaceInputs& inputs);
// Nothing for what is no canonical encoding of an element, or when the product is the identity.
[[nodiscard]] std::optional<Secret<32>> scalarMultVfy(const Secret<32>& scalar,
                                                      const CpaceElement& element);

// One run, after sodium_init().
class Cpace {
 public:
  // Takes 32 random bytes, and throws std::runtime_error if they are of no use.
  Cpace(const CpaceInputs& inputs, const RandomBytes& random);

  // For the other party.
  [[nodiscard]] const CpaceElement& share() const { return ourShare; }
  // The draft's ISK; `ourData` and `theirData` are what each says beside its share (ADa, ADb).
  // Nothing for a share that the run has to end with.
  [[nodiscard]] std::optional<Secret<64>> key(CpaceRole ours, ByteView ourData,
                                              const CpaceElement& theirShare,
                                              ByteView theirData) const;

 private:
  Bytes session;
  Secret<32> scalar;
  CpaceElement ourShare{};
};

}  // namespace quorvin::webui
