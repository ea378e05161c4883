#pragma once

#include "platform/ScreenCapture.h"

namespace quorvin {

// Screen capture by ScreenCaptureKit. Displays given to makeStream must come from its own
// getShareableContent.
class MacScreenCapture final : public ScreenCapture {
 public:
  [[nodiscard]] std::optional<DisplayID> mainScreenNumber() override;
  void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                           ShareableContentHandler handler) override;
  [[nodiscard]] std::string streamErrorDomain() override;
  [[nodiscard]] std::shared_ptr<ScreenStream> makeStream(
      const ContentFilter& filter, const StreamConfiguration& configuration,
      std::weak_ptr<StreamDelegate> delegate) override;
};

}  // namespace quorvin
