#pragma once

#include "platform/Flutter.h"

namespace quorvin::webui {

// Whether keys or buttons may be down on the host because of what one page has sent.
class InputHold {
 public:
  // A call that goes to the host.
  void sent(const FlutterMethodCall& call);

  // Whether something may be down, which is then the caller's to lift.
  [[nodiscard]] bool take();

 private:
  bool something = false;
};

}  // namespace quorvin::webui
