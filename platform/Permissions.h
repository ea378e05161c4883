#pragma once

#include <optional>
#include <string>

#include "platform/Interface.h"

namespace quorvin {

// The permissions that the work needs, and the computer's name. The permission members belong to
// the main thread; copyComputerName may be called on any.
class Permissions : public Interface {
 public:
  // Screen Recording: whether it is granted, without and with asking the user for it.
  [[nodiscard]] virtual bool preflightScreenCaptureAccess() = 0;
  virtual bool requestScreenCaptureAccess() = 0;
  // Accessibility, likewise.
  [[nodiscard]] virtual bool isProcessTrusted() = 0;
  virtual bool isProcessTrustedWithOptions(bool prompt) = 0;

  // The name the user gave the computer; nothing when there is none.
  [[nodiscard]] virtual std::optional<std::string> copyComputerName() = 0;
};

}  // namespace quorvin
