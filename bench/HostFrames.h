#pragma once

#include <string>

#include "bench/FrameSource.h"
#include "tests/e2e/link/HostHarness.h"

namespace quorvin {

// The built host as a user interface sees it at the other end of the link, with the settings that
// a session starts with: at most 1920 x 1200 at 30 a second, JPEG of quality 72, H.264 of 7 Mbit/s.
class HostFrames final : public FrameSource {
 public:
  // "jpeg" or "h264". Throws std::runtime_error when the host does not start to share.
  HostFrames(HostHarness& harness, const std::string& codec);

  // H.264 as an Annex-B byte stream, without the header of the payload.
  [[nodiscard]] std::optional<Bytes> next(Clock::time_point deadline) override;
  [[nodiscard]] pid_t processId() const override { return host.process->processId(); }

 private:
  bool isH264;
  ConnectedHost host;
};

}  // namespace quorvin
