#pragma once

#include <memory>
#include <string>
#include <vector>

#include "webui/remote/SignallingLink.h"
#include "webui/trust/Messages.h"

namespace quorvin::webui {

inline ClientId idOf(std::uint8_t byte) {
  ClientId id{};
  id.fill(byte);
  return id;
}

// Of the supporter whose id `idOf` makes of the same byte.
inline Nonce nonceOf(std::uint8_t byte) {
  Nonce nonce{};
  nonce.fill(byte);
  return nonce;
}

inline Bytes envelopeFor(std::uint8_t byte, const char* text, Kind kind = Kind::join) {
  return writeEnvelope(kind, nonceOf(byte), bytesOf(text));
}

// One place, and what it heard.
class Listener {
 public:
  Listener(Signalling& signalling, std::uint8_t sid, const std::string& digits = "")
      : place(signalling.listen(
            idOf(sid), digits,
            {[this](Reach reach, std::string why) {
               reaches.push_back(reach);
               detail = std::move(why);
             },
             [this](ByteView envelope) { messages.emplace_back(envelope.begin(), envelope.end()); },
             [this] {
               ++timesGone;
             }})) {}

  [[nodiscard]] Reach reach() const { return reaches.empty() ? Reach::connecting : reaches.back(); }

  std::vector<Reach> reaches;
  std::string detail;
  std::vector<Bytes> messages;
  int timesGone = 0;
  std::unique_ptr<SignallingPlace> place;
};

}  // namespace quorvin::webui
