#include "tests/contract/ImageEncoderContract.h"

#include <thread>
#include <utility>

namespace quorvin::contract {
namespace {

void expectAbout(const Colour& actual, const Colour& expected) {
  constexpr int tolerance = 6;  // JPEG rounds
  EXPECT_NEAR(actual.red, expected.red, tolerance);
  EXPECT_NEAR(actual.green, expected.green, tolerance);
  EXPECT_NEAR(actual.blue, expected.blue, tolerance);
}

void expectMarkersAtBothEnds(const std::optional<Data>& file) {
  ASSERT_TRUE(file);
  ASSERT_GE(file->size(), 4U);
  const auto bytes = file->bytes();
  EXPECT_EQ(bytes[0], 0xFF);
  EXPECT_EQ(bytes[1], 0xD8);
  EXPECT_EQ(bytes[bytes.size() - 2], 0xFF);
  EXPECT_EQ(bytes[bytes.size() - 1], 0xD9);
}

constexpr Colour red{.red = 200, .green = 40, .blue = 20};
constexpr Colour blue{.red = 20, .green = 50, .blue = 210};

}  // namespace

std::shared_ptr<PixelBuffer> ImageEncoderContract::plainFrame(const FrameSize& size,
                                                              Colour colour) {
  return world->frame(size, [=](std::size_t, std::size_t) { return colour; });
}

std::shared_ptr<PixelBuffer> ImageEncoderContract::busyFrame(const FrameSize& size) {
  return world->frame(size, [](std::size_t x, std::size_t y) {
    return Colour{static_cast<std::uint8_t>(x * 7 + 1), static_cast<std::uint8_t>(y * 5),
                  static_cast<std::uint8_t>(x * y)};
  });
}

TEST_P(ImageEncoderContract, WritesOneFileAFrame) {
  expectMarkersAtBothEnds(context->jpegRepresentation(*busyFrame({64, 48}), 0.72));
  expectMarkersAtBothEnds(context->jpegRepresentation(*plainFrame({1, 1}, red), 0.72));
}

TEST_P(ImageEncoderContract, TakesEveryFactorFromZeroToOne) {
  const auto frame = busyFrame({64, 48});
  for (const double factor : {0.0, 0.01, 0.5, 0.99, 1.0}) {
    expectMarkersAtBothEnds(context->jpegRepresentation(*frame, factor));
  }
}

TEST_P(ImageEncoderContract, HasNothingForAFrameItCannotEncode) {
  EXPECT_EQ(context->jpegRepresentation(*world->unusableFrame(), 0.72), std::nullopt);
}

TEST_P(ImageEncoderContract, LeavesAFileAloneWhileItEncodesOthers) {
  const auto first = context->jpegRepresentation(*plainFrame({32, 32}, red), 0.9);
  ASSERT_TRUE(first);
  const Bytes before(first->bytes().begin(), first->bytes().end());
  const auto second = context->jpegRepresentation(*plainFrame({32, 32}, blue), 0.9);
  EXPECT_EQ(*first, Data(before));
  EXPECT_NE(*first, second.value());
}

TEST_P(ImageEncoderContract, LeavesAFileToThoseWhoHoldItOnAnyThread) {
  auto file = context->jpegRepresentation(*busyFrame({64, 48}), 0.72);
  ASSERT_TRUE(file);
  const Bytes before(file->bytes().begin(), file->bytes().end());
  context.reset();
  EXPECT_EQ(*file, Data(before));
  std::thread([held = std::exchange(file, std::nullopt)]() mutable { held.reset(); }).join();
}

TEST_P(ImageEncoderContract, GivesContextsThatDoNotDisturbEachOther) {
  const auto other = world->imageEncoder().makeContext(/*cacheIntermediates=*/true);
  const auto mine = context->jpegRepresentation(*plainFrame({32, 32}, red), 0.9);
  const auto theirs = other->jpegRepresentation(*plainFrame({32, 32}, red), 0.9);
  ASSERT_TRUE(mine && theirs);
  EXPECT_EQ(*mine, *theirs);
}

TEST_P(JpegContract, ShowsTheWholeFrameInItsColours) {
  const auto file = context->jpegRepresentation(
      *world->frame({101, 66}, [](std::size_t, std::size_t y) { return y < 33 ? red : blue; }),
      0.9);
  ASSERT_TRUE(file);
  const auto decoded = world->decode(*file);
  ASSERT_EQ(decoded.size, (FrameSize{101, 66}));
  expectAbout(decoded.at(0, 0), red);
  expectAbout(decoded.at(100, 0), red);
  expectAbout(decoded.at(0, 65), blue);
  expectAbout(decoded.at(100, 65), blue);
}

TEST_P(JpegContract, KeepsTheSizeOfTheFrame) {
  for (const auto& size :
       {FrameSize{1, 1}, FrameSize{7, 3}, FrameSize{640, 16}, FrameSize{17, 400}}) {
    const auto file = context->jpegRepresentation(*plainFrame(size, blue), 0.5);
    ASSERT_TRUE(file);
    EXPECT_EQ(world->decode(*file).size, size);
  }
}

TEST_P(JpegContract, WritesMoreForAHigherFactor) {
  const auto frame = busyFrame({256, 256});
  std::size_t former = 0;
  for (const double factor : {0.1, 0.4, 0.72, 0.95}) {
    const auto file = context->jpegRepresentation(*frame, factor);
    ASSERT_TRUE(file);
    EXPECT_GT(file->size(), former);
    former = file->size();
  }
}

}  // namespace quorvin::contract
