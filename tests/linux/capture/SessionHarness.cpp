#include "tests/linux/capture/SessionHarness.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include "platform/linux/x11/X11Monitors.h"
#include "tests/linux/capture/SampleRecorder.h"

namespace quorvin {

namespace {

constexpr std::chrono::nanoseconds interval = std::chrono::milliseconds(10);

std::vector<std::string> withoutReset(std::vector<std::string> options) {
  options.emplace_back("-noreset");
  return options;
}

CaptureTarget firstDisplay(const std::string& name) {
  X11Server server(name);
  const auto display = listMonitors(server.connection, server.extensions).front();
  return {name, display.id, display.area.size()};
}

void waitForEvents(const CaptureSession& session) {
  pollfd source{session.descriptor(), POLLIN, 0};
  poll(&source, 1, 1);
}

}  // namespace

SessionHarness::SessionHarness(std::vector<std::string> options)
    : server(withoutReset(std::move(options))), painter(server.display()) {}

CaptureSettings SessionHarness::usualSettings() {
  return {{320, 240}, interval, 3, false};
}

void SessionHarness::start(const CaptureSettings& settings) {
  session.emplace(firstDisplay(server.display()), settings, std::make_shared<EventFd>(), counters,
                  now);
}

std::shared_ptr<CapturedFrame> SessionHarness::nextFrame() {
  const auto deadline = std::chrono::steady_clock::now() + testTimeout;
  while (std::chrono::steady_clock::now() < deadline) {
    if (auto frame = frameWithin(1)) return frame;
    waitForEvents(*session);
  }
  return {};
}

std::shared_ptr<CapturedFrame> SessionHarness::frameWithin(int steps) {
  for (int i = 0; i < steps; ++i) {
    now += interval;
    if (auto frame = session->step(now).frame) return frame;
  }
  return {};
}

std::vector<RowRange> rowsChangedSince(const CapturedFrame& earlier, const CapturedFrame& later) {
  RowSet rows;
  for (int row = 0; row < static_cast<int>(later.heightPx()); ++row) {
    if (later.damageHistory()->changedSince(*earlier.damageHistory(), {row, row + 1})) {
      rows.add({row, row + 1});
    }
  }
  return rows.ranges();
}

FrameCopy::FrameCopy(const CapturedFrame& frame)
    : size{static_cast<int>(frame.widthPx()), static_cast<int>(frame.heightPx())},
      pixels(frame.widthPx() * frame.heightPx()),
      history(frame.damageHistory()) {
  for (std::size_t row = 0; row < frame.heightPx(); ++row) {
    std::memcpy(&pixels[row * frame.widthPx()], frame.data() + row * frame.strideBytes(),
                frame.widthPx() * bytesPerPixel);
  }
  for (std::uint32_t& pixel : pixels) pixel &= 0xffffff;
}

bool FrameCopy::hasPixelsOf(const FrameCopy& other, int row, ColumnRange columns) const {
  const std::size_t offset = static_cast<std::size_t>(row) * static_cast<std::size_t>(size.width) +
                             static_cast<std::size_t>(columns.first);
  return std::memcmp(&pixels[offset], &other.pixels[offset],
                     static_cast<std::size_t>(columns.end - columns.first) * bytesPerPixel) == 0;
}

testing::AssertionResult agreeWhereUnchanged(const FrameCopy& earlier, const FrameCopy& later) {
  for (int row = 0; row < later.size.height; ++row) {
    for (int left = 0; left < later.size.width; left += LastDamage::tileSidePx) {
      const ColumnRange tile{left, std::min(left + LastDamage::tileSidePx, later.size.width)};
      if (later.history->changedSince(*earlier.history, {row, row + 1}, tile)) continue;
      if (later.hasPixelsOf(earlier, row, tile)) continue;
      return testing::AssertionFailure()
             << "row " << row << " differs from column " << left << " on";
    }
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult lookTheSame(const FrameCopy& a, const FrameCopy& b) {
  if (a.size != b.size) return testing::AssertionFailure() << "the sizes differ";
  for (int row = 0; row < a.size.height; ++row) {
    if (a.hasPixelsOf(b, row, {0, a.size.width})) continue;
    return testing::AssertionFailure() << "row " << row << " differs";
  }
  return testing::AssertionSuccess();
}

}  // namespace quorvin
