#include <gtest/gtest.h>

#include <limits>

#include "platform/linux/capture/CaptureSession.h"

namespace quorvin {
namespace {

StreamConfiguration soundConfiguration() {
  return {1920, 1080, {1, 30}, 3, true, pixelFormat32BGRA};
}

TEST(CaptureSettings, AreWhatTheConfigurationSays) {
  const CaptureSettings settings = checkedSettings(soundConfiguration());
  EXPECT_EQ(settings.frameSize, (PixelSize{1920, 1080}));
  EXPECT_NEAR(static_cast<double>(settings.frameInterval.count()), 1e9 / 30, 1);
  EXPECT_EQ(settings.queueDepth, 3U);
  EXPECT_TRUE(settings.showsCursor);
}

TEST(CaptureSettings, AFrameIntervalOfZeroMeansTheUsualRefreshRate) {
  auto configuration = soundConfiguration();
  configuration.minimumFrameInterval = {0, 1};
  EXPECT_NEAR(static_cast<double>(checkedSettings(configuration).frameInterval.count()), 1e9 / 60,
              1);
}

TEST(CaptureSettings, AnEnormousFrameIntervalIsBounded) {
  auto configuration = soundConfiguration();
  configuration.minimumFrameInterval = {std::numeric_limits<std::int64_t>::max(), 1};
  EXPECT_EQ(checkedSettings(configuration).frameInterval, std::chrono::hours(1));
}

using Spoil = void (*)(StreamConfiguration&);

class UnsoundConfiguration : public testing::TestWithParam<Spoil> {};

TEST_P(UnsoundConfiguration, IsRefused) {
  auto configuration = soundConfiguration();
  GetParam()(configuration);
  EXPECT_THROW(static_cast<void>(checkedSettings(configuration)), Error);
}

INSTANTIATE_TEST_SUITE_P(Kinds, UnsoundConfiguration,
                         testing::Values([](StreamConfiguration& c) { c.width = 0; },
                                         [](StreamConfiguration& c) { c.width = -1; },
                                         [](StreamConfiguration& c) { c.height = 0; },
                                         [](StreamConfiguration& c) { c.height = 1 << 20; },
                                         [](StreamConfiguration& c) {
                                           c.width = std::numeric_limits<std::int64_t>::max();
                                         },
                                         [](StreamConfiguration& c) { c.queueDepth = 0; },
                                         [](StreamConfiguration& c) { c.queueDepth = -5; },
                                         [](StreamConfiguration& c) { c.pixelFormat = 0x34323076; },
                                         [](StreamConfiguration& c) {
                                           c.minimumFrameInterval = {-1, 30};
                                         },
                                         [](StreamConfiguration& c) {
                                           c.minimumFrameInterval = {1, 0};
                                         },
                                         [](StreamConfiguration& c) {
                                           c.minimumFrameInterval = {1, -30};
                                         }));

TEST(FittedInto, NeverScalesUp) {
  EXPECT_EQ(fittedInto({1920, 1080}, {1280, 720}), (PixelSize{1280, 720}));
  EXPECT_EQ(fittedInto({1920, 1080}, {1920, 1080}), (PixelSize{1920, 1080}));
}

TEST(FittedInto, KeepsTheProportions) {
  EXPECT_EQ(fittedInto({1920, 1080}, {3840, 2160}), (PixelSize{1920, 1080}));
  EXPECT_EQ(fittedInto({1920, 1080}, {1080, 1920}), (PixelSize{608, 1080}));
  EXPECT_EQ(fittedInto({800, 600}, {1920, 1080}), (PixelSize{800, 450}));
}

TEST(FittedInto, LeavesAtLeastAPixel) {
  EXPECT_EQ(fittedInto({100, 100}, {16384, 1}), (PixelSize{100, 1}));
}

}  // namespace
}  // namespace quorvin
