#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/ScreenCapture.h"

namespace quorvin {

// What the captures of this process have asked of the X server so far. Any thread.
struct CaptureCounters {
  std::atomic<std::uint64_t> polls = 0;  // times that a stream asked what had changed
  std::atomic<std::uint64_t> fetchedBytes = 0;
};

// Captures the monitors of an X11 screen. A display is a monitor as RANDR 1.5 defines it, or the
// whole screen on a server without it; a point is a pixel. Needs a screen of depth 24 or 30; makes
// use of MIT-SHM, DAMAGE, XFIXES and XInput where the server has them. A stream holds a connection
// and a thread of its own, so streams and this object need not outlive each other.
class LinuxScreenCapture final : public ScreenCapture {
 public:
  // `server` as in DISPLAY, which counts when it is empty. It is looked up at each use, so a server
  // that starts later is found.
  explicit LinuxScreenCapture(std::string server = {}, std::shared_ptr<CaptureCounters> counters =
                                                           std::make_shared<CaptureCounters>());

  // Nothing: only the server knows, and the main thread waits for no server.
  [[nodiscard]] std::optional<DisplayID> mainScreenNumber() override { return {}; }
  // The monitor that the user made the primary one comes first; most virtual servers have none.
  // X11 lists neither desktops nor windows apart from the displays, so the two flags change
  // nothing. An error after two seconds if the server is stuck.
  void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                           ShareableContentHandler handler) override;
  [[nodiscard]] std::string streamErrorDomain() override;
  [[nodiscard]] std::shared_ptr<ScreenStream> makeStream(
      const ContentFilter& filter, const StreamConfiguration& configuration,
      std::weak_ptr<StreamDelegate> delegate) override;

 private:
  const std::string server;
  const std::shared_ptr<CaptureCounters> counters;
};

}  // namespace quorvin
