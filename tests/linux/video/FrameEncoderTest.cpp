#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "bench/Desktop.h"
#include "platform/linux/video/FrameEncoder.h"
#include "tests/linux/video/EncoderHarness.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr nanoseconds frameInterval = nanoseconds(1s) / 30;

// What a user interface asks for unless it is told otherwise.
constexpr PixelSize usualSize{1920, 1080};
constexpr EncoderSettings usualSettings{.averageBitRate = 7'000'000, .expectedRate = 30};

// The same pixels as a stream would hand them out at that time.
std::shared_ptr<CapturedFrame> captured(const std::shared_ptr<CapturedFrame>& frame,
                                        const std::shared_ptr<RefreshRequest>& repeat) {
  auto of = std::make_shared<CapturedFrame>(frame, frame->data(), frame->widthPx(),
                                            frame->heightPx(), frame->strideBytes());
  of->setRefreshRequest(repeat);
  return of;
}

// An encoder and a stream without a clock.
class Frames {
 public:
  explicit Frames(PixelSize size, const EncoderSettings& settings) : encoder(size) {
    encoder.configure(settings);
  }

  // Puts a frame in at that time and returns its byte stream, empty if it was left out.
  std::vector<std::uint8_t> put(const std::shared_ptr<CapturedFrame>& frame, nanoseconds at,
                                bool isRefresh = false) {
    const auto repeat =
        std::make_shared<RefreshRequest>(RefreshRequest::Clock::time_point(at), isRefresh, wakeup);
    const auto encoded = encoder.encode(*captured(frame, repeat), at);
    dueAt = repeat->dueAt().time_since_epoch();
    std::vector<std::uint8_t> stream;
    if (!encoded) return stream;
    const auto append = [&stream](std::span<const std::uint8_t> unit) {
      stream.insert(stream.end(), {0, 0, 0, 1});
      stream.insert(stream.end(), unit.begin(), unit.end());
    };
    append(encoded->sequenceParameterSet);
    append(encoded->pictureParameterSet);
    append(encoded->units.subspan(4));  // one slice, after its length
    return stream;
  }

  nanoseconds
      dueAt{};  // when the stream has been asked to repeat the last frame; or the end of time

 private:
  std::shared_ptr<EventFd> wakeup = std::make_shared<EventFd>();
  FrameEncoder encoder;
};

double sharpnessOf(const std::vector<std::uint8_t>& stream, const CapturedFrame& frame) {
  const auto decoded = H264Decoder::decodeAll({stream});
  return decoded.size() == 1 ? psnrOf(decoded[0], perfectlyDecoded(frame)) : 0;
}

class Bursts : public testing::TestWithParam<int> {};

TEST_P(Bursts, EndInASharpFrameWithinASecondAtTheUsualSettings) {
  std::vector<std::shared_ptr<CapturedFrame>> desktops;
  for (std::uint32_t seed = 1; seed <= 4; ++seed) {
    desktops.push_back(makeFrame(usualSize, desktopImage(usualSize.width, usualSize.height, seed)));
  }
  Frames frames(usualSize, usualSettings);
  nanoseconds now = 1h;
  std::vector<std::uint8_t> shown;
  const auto length = static_cast<std::size_t>(GetParam());
  for (std::size_t i = 0; i < length; ++i) {
    now += frameInterval;
    shown = frames.put(desktops[i % 4], now);
  }
  const auto& last = *desktops[(length - 1) % 4];
  if (frames.dueAt == nanoseconds::max()) {
    EXPECT_GE(sharpnessOf(shown, last), 40) << "as no repetition was asked for";
    return;
  }
  EXPECT_LE(frames.dueAt - now, 1s);
  const auto sharp = frames.put(desktops[(length - 1) % 4], frames.dueAt, true);
  EXPECT_GE(sharpnessOf(sharp, last), 40);
  EXPECT_EQ(frames.dueAt, nanoseconds::max()) << "once is enough";
}

INSTANTIATE_TEST_SUITE_P(OfFrames, Bursts, testing::Values(1, 2, 3, 15, 45));

TEST(FrameEncoder, SpendsAtMostASecondsBudgetOnTheFirstFramesAfterAPause) {
  constexpr PixelSize size{640, 360};
  constexpr double rate = 1'500'000;
  const auto noise = makeFrame(size, [](int x, int y) {
    return (static_cast<std::uint32_t>(x) * 2'654'435'761U ^
            static_cast<std::uint32_t>(y) * 40'503U) &
           0xFFFFFFU;
  });
  Frames frames(size, {.averageBitRate = 1'500'000, .expectedRate = 30});
  double bits = 0;
  nanoseconds now = 1h;
  for (int i = 0; i < 6; ++i) {
    bits += 8.0 * static_cast<double>(frames.put(noise, now).size());
    now += frameInterval;
  }
  const double inTheMeantime = rate * 6 / 30;
  EXPECT_LE(bits, rate + inTheMeantime);
  EXPECT_GE(bits, rate / 2) << "of which the first make use";
}

// They are most of what goes out for so small a frame.
TEST(FrameEncoder, CountsTheParameterSetsThatGoOutWithEachFrame) {
  constexpr PixelSize size{16, 16};
  constexpr int rate = 6000;
  const auto plain = plainFrame(size, 0x336699);
  Frames frames(size, {.averageBitRate = rate, .expectedRate = 30});
  std::size_t shown = 0;
  double bits = 0;
  for (int i = 0; i < 4 * 30; ++i) {
    const auto bytes = frames.put(plain, 1h + i * frameInterval).size();
    shown += bytes > 0 ? 1 : 0;
    bits += 8.0 * static_cast<double>(bytes);
  }
  EXPECT_LE(bits, 1.25 * 4 * rate);
  EXPECT_GE(shown, 40U);
}

}  // namespace
}  // namespace quorvin
