#pragma once

#include <functional>
#include <memory>
#include <string>

#include "webui/trust/Messages.h"

namespace quorvin::webui {

// How a customer's side and supporters who are not connected yet reach each other: over a broker,
// to which envelopes (docs/invitation.md) are opaque bytes. All of it belongs to the main loop's
// thread, and no handler is called from within a call of the one who set it.

enum class Reach {
  connecting,        // for the first time
  open,              // messages come and go, and a place that was asked for is ours alone
  placeTaken,        // as `open`, but the place is somebody else's: for good, whatever the reach is
  unreachable,       // in the network; as with the two below, it goes on trying by itself
  certificateWrong,  // of the broker
  refused,           // by the broker
};

// What listens for one invitation, until it is destroyed. That leaves in order: what was sent still
// goes out, and who watches is told.
class SignallingPlace {
 public:
  SignallingPlace() = default;
  SignallingPlace(const SignallingPlace&) = delete;
  SignallingPlace& operator=(const SignallingPlace&) = delete;
  virtual ~SignallingPlace() = default;

  // To the supporter whom bytes 2 to 17 of the envelope name. Once and in order; what cannot be
  // sent now goes out when the broker is reached again.
  virtual void send(const Bytes& envelope) = 0;
  // `onGone` tells from now on when this supporter, and no earlier one, has gone.
  virtual void watch(const Nonce& supporter) = 0;
};

class Signalling {
 public:
  struct Handlers {
    // On every change. `detail` is a text for people in the broker's or the system's words, and
    // empty unless the broker cannot be used.
    std::function<void(Reach, std::string detail)> onReach;
    std::function<void(ByteView envelope)>
        onMessage;  // whatever a stranger sent; sizes are bounded
    std::function<void()> onGone;
  };

  Signalling() = default;
  Signalling(const Signalling&) = delete;
  Signalling& operator=(const Signalling&) = delete;
  virtual ~Signalling() = default;

  // `place` is the four digits at which a supporter joins by code, or empty when there is no code.
  // What listens is destroyed before this is. A handler may destroy it.
  [[nodiscard]] virtual std::unique_ptr<SignallingPlace> listen(const ClientId& inbox,
                                                                const std::string& place,
                                                                Handlers handlers) = 0;
};

}  // namespace quorvin::webui
