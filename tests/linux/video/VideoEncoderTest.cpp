#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <future>
#include <limits>
#include <thread>
#include <utility>

#include "bench/Desktop.h"
#include "tests/linux/video/EncoderHarness.h"

namespace quorvin {
namespace {

constexpr int mainProfile = 77;
constexpr int bt709 = 1;

void expectStandard(const DecodedFrame& decoded, PixelSize size) {
  EXPECT_EQ(decoded.size, size);
  EXPECT_TRUE(decoded.isKeyFrame);
  EXPECT_EQ(decoded.profile, mainProfile);
  EXPECT_EQ(decoded.primaries, bt709);
  EXPECT_EQ(decoded.transfer, bt709);
  EXPECT_EQ(decoded.matrix, bt709);
  EXPECT_TRUE(decoded.isLimitedRange);
}

std::shared_ptr<CapturedFrame> desktop(PixelSize size, std::uint32_t seed) {
  return makeFrame(size, desktopImage(size.width, size.height, seed));
}

int differenceAt(std::uint32_t a, std::uint32_t b, unsigned shift) {
  return std::abs(static_cast<int>(a >> shift & 0xFFU) - static_cast<int>(b >> shift & 0xFFU));
}

TEST(VideoEncoder, EveryPayloadDecodesAlone) {
  constexpr PixelSize size{320, 240};
  EncoderHarness harness(size);
  for (std::uint32_t seed = 1; seed <= 5; ++seed) {
    const auto frame = desktop(size, seed);
    const auto output = harness.encode(frame);
    const auto decoded = H264Decoder::decodeAll({output.payload});
    ASSERT_EQ(decoded.size(), 1U);
    expectStandard(decoded[0], size);
    EXPECT_GE(psnrOf(decoded[0], perfectlyDecoded(*frame)), 30);
  }
}

TEST(VideoEncoder, PayloadsDecodeInSequenceWithoutDelay) {
  constexpr PixelSize size{320, 240};
  EncoderHarness harness(size);
  H264Decoder decoder;
  for (std::uint32_t seed = 1; seed <= 5; ++seed) {
    const auto frame = desktop(size, seed);
    const auto decoded = decoder.decode(harness.encode(frame).payload);
    ASSERT_EQ(decoded.size(), 1U);
    expectStandard(decoded[0], size);
    EXPECT_GE(psnrOf(decoded[0], perfectlyDecoded(*frame)), 30);
  }
}

// Only what the frame itself needs: its slices (ITU-T H.264, table 7-1).
TEST(VideoEncoder, TheDataHoldNothingButSlicesOfKeyFrames) {
  EncoderHarness harness({64, 48});
  for (int i = 0; i < 3; ++i) {
    const auto data = harness.encode(plainFrame({64, 48}, 0x336699)).data;
    ASSERT_GT(data.size(), 4U);
    EXPECT_EQ(data[4] & 0x1F, 5);
    EXPECT_EQ(data.size(), 4U + (static_cast<std::size_t>(data[1]) << 16U) +
                               (static_cast<std::size_t>(data[2]) << 8U) + data[3])
        << "one slice";
  }
}

TEST(VideoEncoder, ColoursOfFlatAreasComeBackWithinThreeLevels) {
  constexpr std::array<std::uint32_t, 12> colours{0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00,
                                                  0x0000FF, 0x808080, 0x35506B, 0xFCFCFA,
                                                  0x4A6FA5, 0xC08040, 0x1E90FF, 0x7F0041};
  constexpr PixelSize size{32 * 12, 64};
  EncoderHarness harness(size);
  const auto output = harness.encode(makeFrame(
      size, [&](int x, int /*y*/) { return colours.at(static_cast<std::size_t>(x / 32)); }));
  const auto decoded = H264Decoder::decodeAll({output.payload}).at(0);
  for (int i = 0; i < 12; ++i) {
    const auto shown = decoded.colourAt(i * 32 + 16, 32);
    const auto meant = colours.at(static_cast<std::size_t>(i));
    for (const unsigned shift : {0U, 8U, 16U}) {
      EXPECT_LE(differenceAt(shown, meant, shift), 3)
          << std::hex << shown << " instead of " << meant;
    }
  }
}

// 4:2:0 knows no odd sizes: the frame is one column or row larger, which doubles the edge.
TEST(VideoEncoder, PadsOddSizesWithTheirEdge) {
  for (const auto size : {PixelSize{101, 67}, {100, 67}, {101, 66}, {1, 1}, {2, 2}, {17, 1}}) {
    EncoderHarness harness(size);
    const auto output = harness.encode(plainFrame(size, 0xC08040));
    const auto decoded = H264Decoder::decodeAll({output.payload}).at(0);
    expectStandard(decoded, {(size.width + 1) / 2 * 2, (size.height + 1) / 2 * 2});
    for (const unsigned shift : {0U, 8U, 16U}) {
      EXPECT_LE(differenceAt(decoded.colourAt(decoded.size.width - 1, decoded.size.height - 1),
                             0xC08040, shift),
                3);
    }
  }
}

TEST(VideoEncoder, EncodesUnusualShapes) {
  for (const auto size : {PixelSize{4096, 2}, {2, 4096}, {16'384, 16}}) {
    EncoderHarness harness(size);
    const auto decoded = H264Decoder::decodeAll({harness.encode(plainFrame(size, 0xFF)).payload});
    ASSERT_EQ(decoded.size(), 1U);
    EXPECT_EQ(decoded[0].size, size);
  }
}

// Desktops full of text that follow each other at once, then an almost plain one, and again.
TEST(VideoEncoder, HoldsTheBitRateOverAnyFourSecondsThoughTheFrameChangesAbruptly) {
  constexpr PixelSize size{640, 360};
  constexpr double rate = 1'500'000;
  constexpr std::size_t framesInFourSeconds = 120;
  std::vector<std::shared_ptr<CapturedFrame>> busy;
  for (std::uint32_t seed = 1; seed <= 4; ++seed) busy.push_back(desktop(size, seed));
  const auto still = plainFrame(size, 0x336699);
  EncoderHarness harness(size, std::int64_t{1'500'000});
  for (std::size_t i = 0; i < 600; ++i) {
    const bool isStill = i >= 250 && i < 300;
    harness.encode(isStill ? still : busy[i % busy.size()]);
  }
  const auto outputs = harness.recorder.outputs();
  for (std::size_t first = 0; first + framesInFourSeconds <= outputs.size(); ++first) {
    double bits = 0;
    bool isBusy = true;
    for (std::size_t i = first; i < first + framesInFourSeconds; ++i) {
      bits += outputs[i].bits();
      isBusy = isBusy && (i < 250 || i >= 300);
    }
    EXPECT_LE(bits, 1.25 * 4 * rate) << "from frame " << first;
    if (isBusy) {
      EXPECT_GE(bits, 0.75 * 4 * rate) << "from frame " << first;
    }
  }
}

TEST(VideoEncoder, DeclinesWhatItCannotEncode) {
  EncoderRecorder recorder;
  LinuxVideoEncoder encoder;
  const auto statusOfSession = [&](std::int32_t width, std::int32_t height, VideoCodec codec) {
    const auto made = encoder.createSession(width, height, codec, {}, &recorder);
    EXPECT_EQ(made.session == nullptr, made.status != 0);
    return made.status;
  };
  constexpr auto h264 = VideoCodec::h264;
  constexpr auto most = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(statusOfSession(64, 48, h264), 0);
  EXPECT_NE(statusOfSession(64, 48, static_cast<VideoCodec>(0x68766331)), 0);
  for (const auto& [width, height] : {std::pair{0, 48},
                                      {64, 0},
                                      {-64, 48},
                                      {64, -1},
                                      {most, most},
                                      {most, 1},
                                      {16'385, 16},
                                      {16'384, 16'384},
                                      {std::numeric_limits<std::int32_t>::min(), 1}}) {
    EXPECT_NE(statusOfSession(width, height, h264), 0) << width << " x " << height;
  }
  EXPECT_NE(encoder.createSession(64, 48, h264, {}, nullptr).status, 0);
}

TEST(VideoEncoder, RefusesValuesThatMakeNoSense) {
  EncoderHarness harness({64, 48});
  const auto statusOfSetting = [&](CompressionProperty property, CompressionPropertyValue value) {
    return harness.session->setProperty(property, value);
  };
  EXPECT_NE(statusOfSetting(CompressionProperty::averageBitRate, std::int64_t{0}), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::averageBitRate, std::int64_t{-1}), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::averageBitRate, 7'000'000), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::expectedFrameRate, 0), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::expectedFrameRate, true), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::maxKeyFrameInterval, -1), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::profileLevel, false), 0);
  EXPECT_NE(statusOfSetting(CompressionProperty::realTime, 1), 0);
  EXPECT_NE(statusOfSetting(static_cast<CompressionProperty>(99), true), 0);
  EXPECT_TRUE(harness.encode(plainFrame({64, 48}, 0)).hasSample);
}

TEST(VideoEncoder, TakesRatesOfAnySize) {
  for (const std::int64_t rate : {std::int64_t{1}, std::numeric_limits<std::int64_t>::max()}) {
    EncoderHarness harness({64, 48}, rate);
    EXPECT_EQ(harness.session->setProperty(CompressionProperty::expectedFrameRate,
                                           std::numeric_limits<std::int32_t>::max()),
              0);
    harness.encode(plainFrame({64, 48}, 0xFFFFFF));
    EXPECT_EQ(harness.recorder.outputs().back().status, 0);
  }
}

TEST(VideoEncoder, RefusesFramesOfAnotherSizeAndTimesThatAreNone) {
  EncoderHarness harness({64, 48});
  EXPECT_NE(harness.session->encodeFrame(plainFrame({64, 50}, 0), {1, 30}, {}), 0);
  EXPECT_NE(harness.session->encodeFrame(nullptr, {1, 30}, {}), 0);
  const auto frame = plainFrame({64, 48}, 0);
  EXPECT_NE(harness.session->encodeFrame(frame, {1, 0}, {}), 0);
  EXPECT_NE(harness.session->encodeFrame(frame, {1, -30}, {}), 0);
  EXPECT_NE(harness.session->encodeFrame(frame, {1, 30, 0}, {}), 0);
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_NE(harness.session->encodeFrame(frame, {Limits::max(), 1}, {}), 0);
  EXPECT_NE(harness.session->encodeFrame(frame, {Limits::min(), 1}, {}), 0);
  EXPECT_NE(harness.session->completeFrames(MediaTime{1, 0}), 0);
  EXPECT_TRUE(harness.recorder.outputs().empty());
}

TEST(VideoEncoder, TakesNothingOnceInvalidated) {
  EncoderHarness harness({64, 48});
  harness.session->invalidate();
  EXPECT_NE(harness.session->encodeFrame(plainFrame({64, 48}, 0), {1, 30}, {}), 0);
  EXPECT_NE(harness.session->prepareToEncodeFrames(), 0);
  EXPECT_NE(harness.session->setProperty(CompressionProperty::realTime, true), 0);
  harness.session->completeFrames({});
  harness.session->invalidate();
  EXPECT_TRUE(harness.recorder.outputs().empty());
}

// So that the stream can capture the next one into the same memory meanwhile.
TEST(VideoEncoder, HasLetGoOfAFrameWhenItHandsOutWhatItMadeOfIt) {
  EncoderHarness harness({64, 48});
  std::promise<void> lettingGo;
  std::weak_ptr<CapturedFrame> second;
  bool isFirst = true;
  bool wasLetGo = false;
  harness.recorder.onOutput([&] {
    if (std::exchange(isFirst, false)) {
      lettingGo.get_future().wait();
    } else {
      wasLetGo = second.expired();
    }
  });
  ASSERT_EQ(harness.session->encodeFrame(plainFrame({64, 48}, 0), {1, 30}, {}), 0);
  auto frame = plainFrame({64, 48}, 0xFFFFFF);
  second = frame;
  ASSERT_EQ(harness.session->encodeFrame(frame, {2, 30}, {}), 0);
  frame.reset();
  lettingGo.set_value();
  ASSERT_EQ(harness.session->completeFrames({}), 0);
  EXPECT_TRUE(wasLetGo);
}

TEST(VideoEncoder, MayBeLetGoFromWithinWhatItHandsOut) {
  EncoderHarness harness({64, 48});
  std::promise<void> letGo;
  harness.recorder.onOutput([&] {
    harness.session->completeFrames({});
    harness.session->invalidate();
    harness.session.reset();
    letGo.set_value();
  });
  auto& session = *harness.session;
  ASSERT_EQ(session.encodeFrame(plainFrame({64, 48}, 0), {1, 30}, {}), 0);
  letGo.get_future().wait();
  EXPECT_EQ(harness.recorder.outputs().size(), 1U);
}

TEST(VideoEncoder, InvalidatingWaitsForWhatIsBeingHandedOut) {
  for (int i = 0; i < 50; ++i) {
    EncoderHarness harness({64, 48});
    std::atomic<bool> isInside = false;
    harness.recorder.onOutput([&] {
      isInside = true;
      std::this_thread::yield();
      isInside = false;
    });
    for (int j = 0; j < 4; ++j) {
      ASSERT_EQ(harness.session->encodeFrame(plainFrame({64, 48}, 0), {j, 30}, {}), 0);
    }
    ASSERT_TRUE(harness.recorder.waitFor(1));
    harness.session->invalidate();
    EXPECT_FALSE(isInside);
    const auto count = harness.recorder.outputs().size();
    harness.session.reset();  // whose thread is at its end after this
    EXPECT_EQ(harness.recorder.outputs().size(), count);
  }
}

TEST(VideoEncoder, InvalidatingLetsGoOfTheFramesThatWait) {
  EncoderHarness harness({64, 48});
  std::promise<void> allPutIn;
  std::weak_ptr<CapturedFrame> waiting;
  bool wasLetGo = false;
  harness.recorder.onOutput([&] {
    allPutIn.get_future().wait();
    EXPECT_FALSE(waiting.expired());
    harness.session->invalidate();
    wasLetGo = waiting.expired();
  });
  ASSERT_EQ(harness.session->encodeFrame(plainFrame({64, 48}, 0), {1, 30}, {}), 0);
  auto frame = plainFrame({64, 48}, 0xFFFFFF);
  waiting = frame;
  ASSERT_EQ(harness.session->encodeFrame(frame, {2, 30}, {}), 0);
  frame.reset();
  allPutIn.set_value();
  ASSERT_EQ(harness.session->completeFrames({}), 0);
  EXPECT_TRUE(wasLetGo);
  EXPECT_EQ(harness.recorder.outputs().size(), 1U);
}

}  // namespace
}  // namespace quorvin
