#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/capture/CaptureSession.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {

// A capture session of a virtual X server of 320 x 240 pixels, which takes its steps when the test
// wants it to, by a clock that only the test moves.
class SessionHarness {
 public:
  // The options are those of Xvfb.
  explicit SessionHarness(std::vector<std::string> options = {});

  // 320 x 240, no cursor, 100 frames a second, three surfaces.
  [[nodiscard]] static CaptureSettings usualSettings();

  // Captures the first display listed, which is a monitor that was defined, if any.
  void start(const CaptureSettings& settings = usualSettings());
  // Steps until there is a frame; null when none came in time.
  [[nodiscard]] std::shared_ptr<CapturedFrame> nextFrame();
  // Takes so many steps, a frame interval apart. Null if none of them brought a frame.
  [[nodiscard]] std::shared_ptr<CapturedFrame> frameWithin(int steps);

  XServer server;
  ScreenPainter painter;
  std::shared_ptr<CaptureCounters> counters = std::make_shared<CaptureCounters>();
  std::optional<CaptureSession> session;

 private:
  CaptureTime now;
};

// The rows that the history of a frame holds to differ from an earlier one.
[[nodiscard]] std::vector<RowRange> rowsChangedSince(const CapturedFrame& earlier,
                                                     const CapturedFrame& later);

// A frame as it was; surfaces are drawn on again once they are released.
struct FrameCopy {
  explicit FrameCopy(const CapturedFrame& frame);

  // Whether a part of a row looks the same on both.
  [[nodiscard]] bool hasPixelsOf(const FrameCopy& other, int row, ColumnRange columns) const;

  PixelSize size;
  std::vector<std::uint32_t> pixels;  // 0xRRGGBB, rows from the top
  std::shared_ptr<const DamageHistory> history;
};

// True when what may not differ does not, by rows and by tiles.
[[nodiscard]] testing::AssertionResult agreeWhereUnchanged(const FrameCopy& earlier,
                                                           const FrameCopy& later);
// True when they are the same all over.
[[nodiscard]] testing::AssertionResult lookTheSame(const FrameCopy& a, const FrameCopy& b);

}  // namespace quorvin
