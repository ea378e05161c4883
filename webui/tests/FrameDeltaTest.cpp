#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "webui/delta/FrameDelta.h"
#include "webui/tests/TestJpeg.h"

namespace quorvin::webui {
namespace {

using Parsed = std::shared_ptr<const SegmentedJpeg>;

Parsed parse(const Bytes& file, const Parsed& before = nullptr) {
  return SegmentedJpeg::parse(Data(file), before);
}
Parsed parse(const TestJpeg& jpeg, const Parsed& before = nullptr) {
  return parse(jpeg.file(), before);
}
Bytes bytesOf(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}
Bytes sentAs(FrameDeltas& deltas, const TestJpeg& jpeg) {
  return bytesOf(deltas.next(Data(jpeg.file()), parse(jpeg)).bytes());
}

// Long enough for a delta of some of them to pay.
TestJpeg wide(std::uint8_t filling = 7) {
  TestJpeg jpeg{.mcusAcross = 15, .mcuRows = 4, .intervalMcus = 5, .segments = {}};
  jpeg.segments.assign(12, Bytes(40, filling));
  return jpeg;
}

// --- Segments

TEST(SegmentedJpeg, IsAGridOfSegmentsWithTheirMarkers) {
  const TestJpeg jpeg{.segments = {{1}, {}, {3, 0xFF, 0, 3}, {4}}};
  const auto parsed = parse(jpeg);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(bytesOf(parsed->header()), jpeg.header());
  ASSERT_EQ(parsed->count(), 4U);
  EXPECT_EQ(bytesOf(parsed->segment(0)), (Bytes{1, 0xFF, 0xD0}));
  EXPECT_EQ(bytesOf(parsed->segment(1)), (Bytes{0xFF, 0xD1}));
  EXPECT_EQ(bytesOf(parsed->segment(2)), (Bytes{3, 0xFF, 0, 3, 0xFF, 0xD2}));
  EXPECT_EQ(bytesOf(parsed->segment(3)), (Bytes{4, 0xFF, 0xD9}));
}

TEST(SegmentedJpeg, IsNothingElse) {
  EXPECT_TRUE(parse(TestJpeg()));
  EXPECT_FALSE(parse(TestJpeg{.intervalMcus = 3})) << "segments go across rows";
  EXPECT_FALSE(parse(TestJpeg{.intervalMcus = 0})) << "no segments";
  EXPECT_FALSE(parse(TestJpeg{.mcuRows = 3})) << "segments are missing";
  EXPECT_FALSE(parse(TestJpeg{.frameMarker = 0xC2})) << "progressive";
  EXPECT_FALSE(parse(Bytes{'Q', 'N', 'H', '2', 1, 0, 0, 16, 0, 16, 0, 0}));
  auto file = TestJpeg().file();
  file.push_back(0);
  EXPECT_FALSE(parse(file)) << "something follows";
}

TEST(SegmentedJpeg, IsNoFileThatIsCutShortOrOutOfOrder) {
  const auto whole = TestJpeg().file();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(parse(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))));
  }
  auto file = whole;
  std::ranges::replace(file, std::uint8_t{0xD1}, std::uint8_t{0xD2});
  EXPECT_FALSE(parse(file));
}

std::vector<Bytes> segmentsOf(const SegmentedJpeg& jpeg) {
  std::vector<Bytes> segments;
  for (std::size_t i = 0; i < jpeg.count(); ++i) segments.push_back(bytesOf(jpeg.segment(i)));
  return segments;
}

void expectTheSameWith(const Parsed& before, const Bytes& file) {
  const auto alone = parse(file);
  const auto compared = parse(file, before);
  ASSERT_EQ(compared != nullptr, alone != nullptr);
  if (!alone) return;
  EXPECT_EQ(segmentsOf(*compared), segmentsOf(*alone));
  if (alone->count() == before->count()) {
    EXPECT_EQ(compared->changesSince(*before), alone->changesSince(*before));
  }
}

TEST(SegmentedJpeg, IsTheSameWhateverItIsComparedWith) {
  std::mt19937 random(1);
  auto jpeg = wide();
  Parsed before = parse(jpeg);
  for (int step = 0; step < 1000; ++step) {
    for (auto changes = random() % 4; changes > 0; --changes) {
      jpeg.segments[random() % jpeg.segments.size()] =
          Bytes(random() % 50, static_cast<std::uint8_t>(random() % 255));
    }
    expectTheSameWith(before, jpeg.file());
    auto broken = jpeg.file();
    broken[random() % broken.size()] =
        static_cast<std::uint8_t>(random() % 3 == 0 ? 0xFF : random());
    expectTheSameWith(before, broken);
    broken.resize(random() % broken.size());
    expectTheSameWith(before, broken);
    before = parse(jpeg, before);
  }
  expectTheSameWith(before, TestJpeg().file());
}

TEST(SegmentedJpeg, KnowsItsChangesSinceAnyOtherFile) {
  auto jpeg = wide();
  const auto first = parse(jpeg);
  jpeg.segments[1] = {9};
  const auto second = parse(jpeg, first);
  jpeg.segments[2] = {9};
  const auto third = parse(jpeg, second);
  EXPECT_EQ(third->changesSince(*second), (std::vector<std::size_t>{2}));
  EXPECT_EQ(third->changesSince(*first), (std::vector<std::size_t>{1, 2}));
  EXPECT_EQ(first->changesSince(*third), (std::vector<std::size_t>{1, 2}));
  EXPECT_TRUE(third->changesSince(*third).empty());
}

// --- Deltas

TEST(FrameDelta, NamesWhatChangedAndNothingElse) {
  auto next = wide();
  next.segments[2] = {9};
  next.segments[11] = {};
  FrameDeltas deltas;
  EXPECT_EQ(sentAs(deltas, wide()), wide().file());
  EXPECT_EQ(sentAs(deltas, next),
            (Bytes{'Q', 'N', 'D', 'J', 0, 0, 0, 1, 0, 0,    0,    12,   0,
                   0,   0,   2,                     // base, segments, changes
                   0,   0,   0,   2,   0, 0, 0, 3,  // which, and how long
                   0,   0,   0,   11,  0, 0, 0, 2, 9, 0xFF, 0xD2, 0xFF, 0xD9}));
}

TEST(FrameDelta, IsToTheFrameThatWentBefore) {
  auto next = wide();
  FrameDeltas deltas;
  (void)sentAs(deltas, wide());
  for (std::uint8_t round = 1; round < 10; ++round) {
    next.segments[0] = {round};
    const auto delta = sentAs(deltas, next);
    EXPECT_EQ(delta[7], round) << "the number of its base";
    EXPECT_EQ(delta[15], 1U) << "changes";
  }
}

TEST(FrameDelta, OfTheSameFrameIsEmpty) {
  FrameDeltas deltas;
  (void)sentAs(deltas, wide());
  EXPECT_EQ(sentAs(deltas, wide()),
            (Bytes{'Q', 'N', 'D', 'J', 0, 0, 0, 1, 0, 0, 0, 12, 0, 0, 0, 0}));
}

TEST(FrameDelta, GivesWayToTheWholeFileWhereItDoesNotServe) {
  auto higher = wide();
  higher.mcuRows = 5;
  higher.segments.resize(15);
  FrameDeltas deltas;
  EXPECT_EQ(sentAs(deltas, wide()), wide().file()) << "nothing before";
  EXPECT_EQ(sentAs(deltas, higher), higher.file()) << "another size";
  EXPECT_EQ(sentAs(deltas, wide()), wide().file());
  EXPECT_EQ(sentAs(deltas, wide(8)), wide(8).file()) << "all of it has changed";
  const Bytes other{'Q', 'N', 'H', '2'};
  EXPECT_EQ(bytesOf(deltas.next(Data(other), nullptr).bytes()), other);
  EXPECT_EQ(sentAs(deltas, wide(8)), wide(8).file()) << "the frame before was none of JPEG";
  deltas.forget();
  EXPECT_EQ(sentAs(deltas, wide(8)), wide(8).file()) << "the receiver has lost it";
  EXPECT_EQ(sentAs(deltas, wide(8))[7], 7U) << "every frame counts";
}

// What a receiver makes of a delta.
Bytes applied(const SegmentedJpeg& base, const Bytes& delta) {
  const auto numberAt = [&delta](std::size_t at) {
    std::size_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number = number << 8U | delta.at(at + i);
    return number;
  };
  std::vector<Bytes> segments = segmentsOf(base);
  const std::size_t changes = numberAt(12);
  std::size_t at = 16 + 8 * changes;
  for (std::size_t entry = 0; entry < changes; ++entry) {
    const auto length = numberAt(20 + 8 * entry);
    segments.at(numberAt(16 + 8 * entry)) = bytesOf(std::span(delta).subspan(at, length));
    at += length;
  }
  EXPECT_EQ(at, delta.size());
  auto file = bytesOf(base.header());
  for (const auto& segment : segments) file.insert(file.end(), segment.begin(), segment.end());
  return file;
}

TEST(FrameDelta, MakesTheNextFileWhateverChanges) {
  std::mt19937 random(1);
  auto jpeg = wide();
  int deltas = 0;
  for (int step = 0; step < 1000; ++step) {
    const auto base = parse(jpeg);
    for (auto changes = random() % 6; changes > 0; --changes) {
      jpeg.segments[random() % jpeg.segments.size()] =
          Bytes(random() % 60, static_cast<std::uint8_t>(random() % 255));
    }
    const auto delta = deltaBetween(*base, *parse(jpeg, base), 1);
    if (!delta) continue;
    EXPECT_EQ(applied(*base, *delta), jpeg.file()) << step;
    ++deltas;
  }
  EXPECT_GT(deltas, 500);
}

}  // namespace
}  // namespace quorvin::webui
