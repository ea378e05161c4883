#include <gtest/gtest.h>

#include <random>

#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/linux/jpeg/FailingMemory.h"
#include "tests/linux/jpeg/TestScreen.h"

namespace quorvin {
namespace {

constexpr int quality = 72;
constexpr PixelSize size{100, 100};  // seven MCU rows

Data freshFile(const TestFrame& frame) {
  return JpegEncoder(JpegThreads{}).encode(*frame, quality).value();
}

class JpegEncoderTest : public testing::Test {
 protected:
  JpegEncoderTest() { screen.drawNoise({0, size.height}, random); }

  Data encodeNext() { return encoder.encode(*screen.nextFrame(), quality).value(); }

  std::mt19937 random{1};
  TestScreen screen{size};
  JpegEncoder encoder{JpegThreads{}};
};

TEST_F(JpegEncoderTest, HandsOutTheSameFileAgainWhenNothingChanged) {
  const auto first = encodeNext();
  EXPECT_EQ(encodeNext().data(), first.data());
}

TEST_F(JpegEncoderTest, CodesAllAnewAtAnotherQuality) {
  const auto first = encodeNext();
  const auto frame = screen.nextFrame();
  EXPECT_NE(encoder.encode(*frame, quality + 1), first);
  EXPECT_EQ(encoder.encode(*frame, quality), first);
}

// A screen that keeps something to itself shows which rows are looked at.
TEST_F(JpegEncoderTest, LooksAtNoRowThatDidNotChange) {
  const auto first = encodeNext();
  screen.changeSecretly({0, size.height}, 0);
  EXPECT_EQ(encodeNext(), first);

  screen.markUnchanged(RowRange{50, 51});
  const auto lookedAtOne = encodeNext();
  EXPECT_NE(lookedAtOne, first);
  EXPECT_NE(lookedAtOne, freshFile(screen.nextFrame()));
  screen.markUnchanged(RowRange{0, size.height});
  EXPECT_EQ(encodeNext(), freshFile(screen.nextFrame()));
}

TEST_F(JpegEncoderTest, LooksAtNoSegmentThatDidNotChange) {
  screen.resize({1920, 32});
  screen.drawNoise({0, 32}, random);
  const auto first = encodeNext();
  screen.changeSecretly({0, 32}, 0);
  screen.markUnchanged(PixelRect{500, 3, 10, 10});
  const auto segment = encodeNext();
  // Of noise little is left where it has gone.
  EXPECT_LT(segment.size(), first.size() * 31 / 32);
  EXPECT_GT(segment.size(), first.size() * 29 / 32);
}

TEST_F(JpegEncoderTest, TakesAnEarlierFrameForWhatItIs) {
  const auto earlier = screen.nextFrameCopied();
  screen.fillRows({20, 30}, 0x123456);
  const auto later = encodeNext();
  EXPECT_EQ(encoder.encode(*earlier, quality), freshFile(earlier));
  EXPECT_EQ(encodeNext(), later);
}

TEST_F(JpegEncoderTest, KeepsNothingOfAFrameThatIsOfNoStream) {
  const auto file = encoder.encode(*screen.frameWithoutHistory(), quality).value();
  EXPECT_LE(encoder.keptBytes(), file.size());
  screen.fillRows({20, 30}, 0x123456);
  EXPECT_EQ(encodeNext(), freshFile(screen.nextFrame()));
}

TEST_F(JpegEncoderTest, KeepsAtMostTwiceTheSizeOfTheLastFile) {
  screen.resize({300, 1000});
  for (int height = 1000; height > 0; height = height * 2 / 3) {
    screen.drawNoise({0, height}, random);
    const auto noisy = encodeNext();
    EXPECT_LE(encoder.keptBytes(), 2 * noisy.size());
    screen.fillRows({0, height}, 0);
    const auto plain = encodeNext();
    EXPECT_LE(encoder.keptBytes(), 2 * plain.size());
  }
}

TEST_F(JpegEncoderTest, HasNoFileWhereLibjpegHasNone) {
  const auto first = encodeNext();
  // More than libjpeg can do. All rows lie in the same memory.
  const std::vector<std::uint32_t> pixels(65'501);
  const CapturedFrame tooWide(nullptr, reinterpret_cast<const std::uint8_t*>(pixels.data()), 65'501,
                              1, 0);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(encoder.encode(tooWide, quality));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(encodeNext().data(), first.data());
}

TEST_F(JpegEncoderTest, SurvivesWantOfMemoryAtAnyPoint) {
  screen.resize({200, 1000});
  screen.drawNoise({0, 1000}, random);
  const auto frame = screen.nextFrame();
  const auto expected = freshFile(frame);
  int filesMissed = 0;
  bool hasFailed = true;
  for (std::size_t successes = 0; hasFailed; ++successes) {
    JpegEncoder starved(JpegThreads{});
    FailingMemory::failAfter(successes);
    const auto file = starved.encode(*frame, quality);
    hasFailed = FailingMemory::recover();
    if (!file) ++filesMissed;
    // What was not to be had for giving spare memory back does no harm.
    EXPECT_EQ(file.value_or(expected), expected);
    EXPECT_EQ(starved.encode(*frame, quality), expected);
  }
  EXPECT_GT(filesMissed, 3);
}

TEST_F(JpegEncoderTest, KeepsItsRowsThroughWantOfMemory) {
  encodeNext();
  screen.fillRows({20, 30}, 0x123456);
  const auto frame = screen.nextFrameCopied();
  FailingMemory::failAfter(0);
  EXPECT_FALSE(encoder.encode(*frame, quality));
  EXPECT_TRUE(FailingMemory::recover());
  screen.fillRows({90, 95}, 0x654321);
  EXPECT_EQ(encodeNext(), freshFile(screen.nextFrame()));
}

TEST_F(JpegEncoderTest, MakesTheSameFileWithAnyNumberOfThreads) {
  screen.resize({500, 1000});
  screen.drawDesktop({0, 1000}, 5);
  const auto frame = screen.nextFrame();
  const auto expected = freshFile(frame);
  for (const std::size_t count : {1U, 2U, 4U}) {
    EXPECT_EQ(JpegEncoder({count, 0}).encode(*frame, quality), expected) << count << " threads";
  }
}

}  // namespace
}  // namespace quorvin
