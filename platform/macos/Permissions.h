#pragma once

#include <optional>
#include <string>

#include "platform/Permissions.h"

namespace quorvin {

// The permissions as the system keeps them for this copy of the application.
class MacPermissions final : public Permissions {
 public:
  [[nodiscard]] bool preflightScreenCaptureAccess() override;
  bool requestScreenCaptureAccess() override;
  [[nodiscard]] bool isProcessTrusted() override;
  bool isProcessTrustedWithOptions(bool prompt) override;
  [[nodiscard]] std::optional<std::string> copyComputerName() override;
};

}  // namespace quorvin
