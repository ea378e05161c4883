#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "bench/Desktop.h"
#include "platform/linux/video/PictureEncoder.h"
#include "tests/linux/video/EncoderStand.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr nanoseconds frameInterval = nanoseconds(1s) / 30;

// What a user interface asks for unless it is told otherwise.
constexpr PixelSize usualSize{1920, 1080};
constexpr EncoderSettings usualSettings{.averageBitRate = 7'000'000, .expectedRate = 30};

// The same pixels as a stream would hand them out at that time.
std::shared_ptr<CapturedPixelBuffer> captured(const std::shared_ptr<CapturedPixelBuffer>& picture,
                                              const std::shared_ptr<PictureRepeat>& repeat) {
  auto of = std::make_shared<CapturedPixelBuffer>(picture, picture->data(), picture->widthPx(),
                                                  picture->heightPx(), picture->strideBytes());
  of->setRepeat(repeat);
  return of;
}

// An encoder and a stream without a clock.
class Pictures {
 public:
  explicit Pictures(PixelSize size, const EncoderSettings& settings) : encoder(size) {
    encoder.configure(settings);
  }

  // Puts a picture in at that time and returns its byte stream, empty if it was left out.
  std::vector<std::uint8_t> put(const std::shared_ptr<CapturedPixelBuffer>& picture, nanoseconds at,
                                bool isRepeat = false) {
    const auto repeat =
        std::make_shared<PictureRepeat>(PictureRepeat::Clock::time_point(at), isRepeat, wakeup);
    const auto encoded = encoder.encode(*captured(picture, repeat), at);
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
      dueAt{};  // when the stream has been asked to repeat the last picture; or the end of time

 private:
  std::shared_ptr<EventFd> wakeup = std::make_shared<EventFd>();
  PictureEncoder encoder;
};

double sharpnessOf(const std::vector<std::uint8_t>& stream, const CapturedPixelBuffer& picture) {
  const auto frames = H264Decoder::decodeAll({stream});
  return frames.size() == 1 ? psnrOf(frames[0], perfectlyDecoded(picture)) : 0;
}

class Bursts : public testing::TestWithParam<int> {};

TEST_P(Bursts, EndInASharpPictureWithinASecondAtTheUsualSettings) {
  std::vector<std::shared_ptr<CapturedPixelBuffer>> desktops;
  for (std::uint32_t seed = 1; seed <= 4; ++seed) {
    desktops.push_back(
        makePicture(usualSize, desktopPicture(usualSize.width, usualSize.height, seed)));
  }
  Pictures pictures(usualSize, usualSettings);
  nanoseconds now = 1h;
  std::vector<std::uint8_t> shown;
  const auto length = static_cast<std::size_t>(GetParam());
  for (std::size_t i = 0; i < length; ++i) {
    now += frameInterval;
    shown = pictures.put(desktops[i % 4], now);
  }
  const auto& last = *desktops[(length - 1) % 4];
  if (pictures.dueAt == nanoseconds::max()) {
    EXPECT_GE(sharpnessOf(shown, last), 40) << "as no repetition was asked for";
    return;
  }
  EXPECT_LE(pictures.dueAt - now, 1s);
  const auto sharp = pictures.put(desktops[(length - 1) % 4], pictures.dueAt, true);
  EXPECT_GE(sharpnessOf(sharp, last), 40);
  EXPECT_EQ(pictures.dueAt, nanoseconds::max()) << "once is enough";
}

INSTANTIATE_TEST_SUITE_P(OfPictures, Bursts, testing::Values(1, 2, 3, 15, 45));

TEST(PictureEncoder, SpendsAtMostASecondsBudgetOnTheFirstPicturesAfterAPause) {
  constexpr PixelSize size{640, 360};
  constexpr double rate = 1'500'000;
  const auto noise = makePicture(size, [](int x, int y) {
    return (static_cast<std::uint32_t>(x) * 2'654'435'761U ^
            static_cast<std::uint32_t>(y) * 40'503U) &
           0xFFFFFFU;
  });
  Pictures pictures(size, {.averageBitRate = 1'500'000, .expectedRate = 30});
  double bits = 0;
  nanoseconds now = 1h;
  for (int i = 0; i < 6; ++i) {
    bits += 8.0 * static_cast<double>(pictures.put(noise, now).size());
    now += frameInterval;
  }
  const double inTheMeantime = rate * 6 / 30;
  EXPECT_LE(bits, rate + inTheMeantime);
  EXPECT_GE(bits, rate / 2) << "of which the first make use";
}

// They are most of what goes out for so small a picture.
TEST(PictureEncoder, CountsTheParameterSetsThatGoOutWithEachPicture) {
  constexpr PixelSize size{16, 16};
  constexpr int rate = 6000;
  const auto plain = plainPicture(size, 0x336699);
  Pictures pictures(size, {.averageBitRate = rate, .expectedRate = 30});
  std::size_t shown = 0;
  double bits = 0;
  for (int i = 0; i < 4 * 30; ++i) {
    const auto bytes = pictures.put(plain, 1h + i * frameInterval).size();
    shown += bytes > 0 ? 1 : 0;
    bits += 8.0 * static_cast<double>(bytes);
  }
  EXPECT_LE(bits, 1.25 * 4 * rate);
  EXPECT_GE(shown, 40U);
}

}  // namespace
}  // namespace quorvin
