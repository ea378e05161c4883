#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "platform/linux/jpeg/ImageEncoder.h"
#include "platform/linux/jpeg/JpegFile.h"
#include "tests/linux/jpeg/JpegDecoders.h"
#include "tests/linux/jpeg/TestScreen.h"

// What the files are made of, and that others read from them the very pixels that they read from
// TurboJPEG's.

namespace quorvin {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t startOfImage = 0xD8;
constexpr std::uint8_t endOfImage = 0xD9;
constexpr std::uint8_t startOfScan = 0xDA;
constexpr std::uint8_t restartInterval = 0xDD;
constexpr std::uint8_t huffmanTables = 0xC4;
constexpr std::uint8_t baselineFrame = 0xC0;

int numberAt(const Bytes& bytes, std::size_t position) {
  return bytes.at(position) << 8 | bytes.at(position + 1);
}

// A file read as ITU-T T.81, B.1.1 describes it, marker by marker.
struct Anatomy {
  explicit Anatomy(const Data& data) : bytes(data.bytes().begin(), data.bytes().end()) {
    readSegments();
    readScan();
  }

  Bytes bytes;
  Bytes segments;  // the markers in front of the scan's data
  int restartMcus = 0;
  int widthPx = 0;
  int heightPx = 0;
  Bytes markersInScan;
  std::size_t behindLastMarker = 0;

 private:
  std::uint8_t markerAt(std::size_t position) {
    EXPECT_EQ(bytes.at(position), 0xFF);
    return bytes.at(position + 1);
  }

  void readSegments() {
    EXPECT_EQ(markerAt(0), startOfImage);
    std::size_t position = 2;
    while (segments.empty() || segments.back() != startOfScan) {
      const auto marker = markerAt(position);
      segments.push_back(marker);
      if (marker == restartInterval) restartMcus = numberAt(bytes, position + 4);
      if (marker == baselineFrame) {
        heightPx = numberAt(bytes, position + 5);
        widthPx = numberAt(bytes, position + 7);
      }
      position += 2 + static_cast<std::size_t>(numberAt(bytes, position + 2));
    }
    behindLastMarker = position;
  }

  void readScan() {
    for (std::size_t position = behindLastMarker; position + 1 < bytes.size(); ++position) {
      if (bytes[position] != 0xFF || bytes[position + 1] == 0) continue;
      markersInScan.push_back(bytes[position + 1]);
      behindLastMarker = position + 2;
    }
  }
};

// Something of everything: plain rows, text, and noise.
void paint(TestScreen& screen, std::uint32_t seed) {
  std::mt19937 random(seed);
  const int height = screen.size().height;
  screen.drawDesktop({0, height}, seed);
  screen.fillRows({height / 3, height / 2}, 0x3050A0);
  screen.drawNoise({height * 3 / 4, height}, random);
}

Data encode(JpegEncoder& encoder, const TestFrame& frame, int quality) {
  auto file = encoder.encode(*frame, quality);
  EXPECT_TRUE(file);
  return file.value_or(Data());
}

class JpegOfSize : public testing::TestWithParam<PixelSize> {
 protected:
  JpegOfSize() { paint(screen, 7); }

  TestScreen screen{GetParam()};
  JpegEncoder encoder{JpegThreads{}};
};

INSTANTIATE_TEST_SUITE_P(Sizes, JpegOfSize,
                         testing::Values(PixelSize{1, 1}, PixelSize{1, 200}, PixelSize{200, 1},
                                         PixelSize{16, 16}, PixelSize{17, 17}, PixelSize{15, 33},
                                         PixelSize{33, 160}, PixelSize{640, 481},
                                         PixelSize{1366, 40}, PixelSize{1915, 50},
                                         PixelSize{65'500, 1}, PixelSize{1, 65'500}));

TEST_P(JpegOfSize, HasARestartMarkerBehindEachSegmentButTheLast) {
  const Anatomy file(encode(encoder, screen.nextFrame(), 72));
  const auto [width, height] = GetParam();
  const int mcus = (width + 15) / 16;
  ASSERT_GT(file.restartMcus, 0);
  EXPECT_EQ(mcus % file.restartMcus, 0);
  const auto segments = static_cast<std::size_t>((height + 15) / 16 * (mcus / file.restartMcus));
  Bytes expected;
  for (std::size_t segment = 0; segment + 1 < segments; ++segment) {
    expected.push_back(static_cast<std::uint8_t>(0xD0 + segment % 8));
  }
  expected.push_back(endOfImage);
  EXPECT_EQ(file.markersInScan, expected);
}

TEST_P(JpegOfSize, IsABaselineFileOfThatSizeWithNothingBehindItsEnd) {
  const Anatomy file(encode(encoder, screen.nextFrame(), 72));
  EXPECT_EQ(file.widthPx, GetParam().width);
  EXPECT_EQ(file.heightPx, GetParam().height);
  EXPECT_THAT(file.segments, testing::Contains(baselineFrame));
  EXPECT_THAT(file.segments, testing::Contains(huffmanTables));
  EXPECT_EQ(file.behindLastMarker, file.bytes.size());
}

TEST_P(JpegOfSize, IsReadByOthersAsTurboJpegsFileIs) {
  const auto frame = screen.nextFrame();
  const auto file = encode(encoder, frame, 72);
  const auto whole = encodeAsTheHostDoes(*frame, 72);
  EXPECT_EQ(decodeWithTurboJpeg(file.bytes()), decodeWithTurboJpeg(whole));
  EXPECT_EQ(decodeWithLibavcodec(file.bytes()), decodeWithLibavcodec(whole));
}

TEST_P(JpegOfSize, IsReadByOthersAlsoWhenItIsPutTogetherOfKeptRows) {
  for (std::uint32_t step = 0; step < 6; ++step) {
    const auto [width, height] = GetParam();
    const int x = static_cast<int>(step * 311) % width;
    const int y = static_cast<int>(step * 31) % height;
    screen.fill(intersectionOf({x, y, 300, 20}, wholeOf(GetParam())), 0xA03050 + step * 999);
    const auto frame = screen.nextFrame();
    const auto file = encode(encoder, frame, 72);
    const auto whole = encodeAsTheHostDoes(*frame, 72);
    EXPECT_EQ(decodeWithTurboJpeg(file.bytes()), decodeWithTurboJpeg(whole));
    EXPECT_EQ(decodeWithLibavcodec(file.bytes()), decodeWithLibavcodec(whole));
  }
}

TEST(JpegQuality, GivesTurboJpegsPixelsFromTheWorstToTheBest) {
  TestScreen screen({100, 90});
  paint(screen, 3);
  JpegEncoder encoder(JpegThreads{});
  for (int quality = 1; quality <= 100; ++quality) {
    const auto frame = screen.nextFrame();
    EXPECT_EQ(decodeWithTurboJpeg(encode(encoder, frame, quality).bytes()),
              decodeWithTurboJpeg(encodeAsTheHostDoes(*frame, quality)))
        << "at quality " << quality;
  }
}

// Of a file's decoded red, green and blue.
double meanSquareError(const CapturedFrame& frame, std::span<const std::uint8_t> file) {
  const auto decoded = decodeWithTurboJpeg(file);
  double sum = 0;
  for (std::size_t i = 0; i < decoded.size(); ++i) {
    const std::size_t pixel = i / 3;
    const auto* row = frame.data() + pixel / frame.widthPx() * frame.strideBytes();
    const int original = row[pixel % frame.widthPx() * 4 + 2 - i % 3];
    sum += (original - decoded[i]) * (original - decoded[i]);
  }
  return sum / static_cast<double>(decoded.size());
}

// Though it converts colours faster.
TEST(JpegQuality, IsHardlyLessThanTurboJpegs) {
  TestScreen screen({640, 480});
  screen.drawDesktop({0, 480}, 3);
  JpegEncoder encoder(JpegThreads{});
  for (const int quality : {1, 20, 50, 72, 80, 90, 95}) {
    const auto frame = screen.nextFrame();
    const auto ours = meanSquareError(*frame, encode(encoder, frame, quality).bytes());
    const auto theirs = meanSquareError(*frame, encodeWithTurboJpeg(*frame, quality));
    EXPECT_LE(ours, theirs * 1.02) << quality;
  }
}

TEST(JpegQuality, BringsPlainColoursBackWithinThreeLevels) {
  TestScreen screen({48, 48});
  std::mt19937 random(5);
  JpegEncoder encoder(JpegThreads{});
  for (int colour = 0; colour < 500; ++colour) {
    screen.fillRows({0, 48}, static_cast<std::uint32_t>(random() & 0xffffff));
    const auto frame = screen.nextFrame();
    EXPECT_LE(meanSquareError(*frame, encode(encoder, frame, 95).bytes()), 9) << colour;
  }
}

TEST(JpegRows, MayLieApartInTheFramesMemory) {
  constexpr std::size_t width = 20;
  constexpr std::size_t height = 40;
  constexpr std::size_t stride = width * 4 + 12;
  Bytes pixels(stride * height);
  std::mt19937 random(1);
  std::ranges::generate(pixels, [&random] { return static_cast<std::uint8_t>(random()); });
  const CapturedFrame frame(nullptr, pixels.data(), width, height, stride);
  const auto file = JpegEncoder(JpegThreads{}).encode(frame, 72).value();
  EXPECT_EQ(decodeWithTurboJpeg(file.bytes()), decodeWithTurboJpeg(encodeAsTheHostDoes(frame, 72)));
}

using Bytes = std::vector<std::uint8_t>;
using Positions = std::vector<std::size_t>;

// Empty when there are not just so many.
Positions endsIn(const Bytes& coded, std::size_t count) {
  Positions ends(count);
  if (!findEnds(coded, ends)) ends.clear();
  return ends;
}

TEST(RestartMarkers, EndEachSegment) {
  const Bytes coded{1, 2, 0xFF, 0xD0, 3, 0xFF, 0xD1, 4, 5, 6, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, 3), (Positions{4, 7, 12}));
}

TEST(CodedData, BeginsBehindTheStartOfTheScan) {
  const Bytes header{0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 0xFF, 0xDA, 0xFF, 0xDA, 0, 3, 9};
  Bytes file = header;
  file.insert(file.end(), {1, 2, 0xFF, 0xD9});
  EXPECT_EQ(findCodedData(file), header.size());
  // Cut off anywhere in front of it, there is none.
  for (std::size_t size = 0; size <= header.size(); ++size) {
    EXPECT_EQ(findCodedData(std::span(file).first(size)), 0U) << size;
  }
}

TEST(CodedData, DoesNotBeginInWhatIsNoFile) {
  EXPECT_EQ(findCodedData(Bytes(100, 0)), 0U);
  EXPECT_EQ(findCodedData(Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0xFF, 0xFF, 1, 2}), 0U);
}

TEST(RestartMarkers, AreNotTheStuffedBytesOfCodedData) {
  const Bytes coded{0xFF, 0, 0xFF, 0, 0xFF, 0xD0, 0xFF, 0, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, 2), (Positions{6, 10}));
}

TEST(RestartMarkers, StartAgainAfterTheEighth) {
  Bytes coded;
  for (int row = 0; row < 10; ++row) {
    coded.insert(coded.end(), {7, 0xFF, static_cast<std::uint8_t>(0xD0 + row % 8)});
  }
  coded.insert(coded.end(), {7, 0xFF, 0xD9});
  EXPECT_EQ(endsIn(coded, 11).size(), 11U);
  EXPECT_EQ(markerBehind(7, 20), 0xD7);
  EXPECT_EQ(markerBehind(8, 20), 0xD0);
  EXPECT_EQ(markerBehind(19, 20), 0xD9);
}

TEST(RestartMarkers, AreFoundWhereverTheyLieInLongData) {
  for (std::size_t first = 0; first < 150; ++first) {
    for (const std::size_t second : {std::size_t{1}, std::size_t{62}, std::size_t{63}}) {
      Bytes coded(first, 0xFF);
      for (std::size_t i = 1; i < first; i += 2) coded[i] = 0;  // as coded data has them
      if (first % 2 == 1) coded.back() = 7;
      coded.insert(coded.end(), {0xFF, 0xD0});
      coded.insert(coded.end(), second, 7);
      coded.insert(coded.end(), {0xFF, 0xD9});
      EXPECT_EQ(endsIn(coded, 2), (Positions{first + 2, first + second + 4})) << first;
    }
  }
}

TEST(RestartMarkers, AreRefusedWhenTheyAreNotThoseOfSoManySegments) {
  const Bytes coded{1, 0xFF, 0xD0, 2, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, 2), (Positions{3, 6}));
  EXPECT_EQ(endsIn(coded, 1), Positions());
  EXPECT_EQ(endsIn(coded, 3), Positions());
  EXPECT_EQ(endsIn({1, 0xFF, 0xD1, 2, 0xFF, 0xD9}, 2), Positions());
}

TEST(RestartMarkers, AreRefusedWhenTheDataIsCutOff) {
  const Bytes coded{1, 0xFF, 0xD0, 2, 0xFF, 0xD9};
  for (std::size_t length = 0; length < coded.size(); ++length) {
    EXPECT_EQ(endsIn(Bytes(coded.begin(), coded.begin() + static_cast<std::ptrdiff_t>(length)), 2),
              Positions());
  }
}

TEST(RestartMarkers, AreRefusedWhenSomethingFollowsTheEnd) {
  EXPECT_EQ(endsIn({1, 0xFF, 0xD9, 0}, 1), Positions());
}

}  // namespace
}  // namespace quorvin
