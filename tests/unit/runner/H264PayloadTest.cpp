#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "Runner/H264Payload.h"

namespace quorvin {
namespace {

using testing::ElementsAre;

const Bytes sequenceSet{0x67, 0x4D, 0x00};
const Bytes pictureSet{0x68, 0xEE};
const H264ParameterSets bothSets{sequenceSet, pictureSet};
const Bytes twoUnits{0, 0, 0, 5, 11, 12, 13, 14, 15, 0, 0, 0, 3, 21, 22, 23};

struct Frame {
  H264ParameterSets parameterSets{};
  bool isKeyFrame = false;
  std::int64_t width = 1920;
  std::int64_t height = 1080;
};

std::optional<Data> payloadOf(const Bytes& units, const Frame& frame = {}) {
  H264PayloadBuilder builder(frame.parameterSets, units.size());
  EXPECT_EQ(builder.units().size(), units.size());
  std::ranges::copy(units, builder.units().begin());
  return std::move(builder).finish(frame.isKeyFrame, frame.width, frame.height);
}

Bytes headOf(const Data& payload) {
  return {payload.bytes().begin(), payload.bytes().begin() + 12};
}

Bytes streamOf(const Data& payload) {
  return {payload.bytes().begin() + 12, payload.bytes().end()};
}

std::optional<Bytes> converted(Bytes units) {
  const auto length = convertToByteStream(units);
  if (!length) return std::nullopt;
  EXPECT_LE(*length, units.size());
  units.resize(*length);
  return units;
}

// ---- the units ----

TEST(H264PayloadTest, PutsAStartCodeInThePlaceOfEachLength) {
  EXPECT_EQ(converted(twoUnits), (Bytes{0, 0, 0, 1, 11, 12, 13, 14, 15, 0, 0, 0, 1, 21, 22, 23}));
}

TEST(H264PayloadTest, ReadsLengthsAsBigEndianNumbersOfFourBytes) {
  Bytes units{0, 1, 2, 3};
  units.resize(4 + 0x010203, 0xAB);
  auto expected = units;
  expected[1] = expected[2] = 0;
  expected[3] = 1;
  EXPECT_EQ(converted(units), expected);
}

TEST(H264PayloadTest, TakesAUnitOfOneByte) {
  EXPECT_EQ(converted({0, 0, 0, 1, 0x65}), (Bytes{0, 0, 0, 1, 0x65}));
}

TEST(H264PayloadTest, RefusesAUnitOfNoBytes) {
  EXPECT_EQ(converted({0, 0, 0, 0}), std::nullopt);
  EXPECT_EQ(converted({0, 0, 0, 1, 0x65, 0, 0, 0, 0, 0, 0, 0, 1, 0x65}), std::nullopt);
}

TEST(H264PayloadTest, RefusesALengthThatLeadsPastTheEnd) {
  EXPECT_EQ(converted({0, 0, 0, 2, 0x65}), std::nullopt);
  EXPECT_EQ(converted({0, 0, 0, 1}), std::nullopt);
  EXPECT_EQ(converted({0, 0, 0, 1, 0x65, 0, 0, 0, 4, 1, 2, 3}), std::nullopt);
  EXPECT_EQ(converted({0xFF, 0xFF, 0xFF, 0xFF, 0x65}), std::nullopt);
  EXPECT_EQ(converted({0x80, 0, 0, 0, 0x65}), std::nullopt);
}

TEST(H264PayloadTest, LeavesOutUpToThreeStrayBytesAtTheEnd) {
  const Bytes stray{0, 0, 9};
  for (std::ptrdiff_t count = 1; count <= 3; ++count) {
    auto units = twoUnits;
    units.insert(units.end(), stray.begin(), stray.begin() + count);
    EXPECT_EQ(converted(units), converted(twoUnits)) << count;
  }
}

TEST(H264PayloadTest, TakesFourBytesAtTheEndForALength) {
  auto units = twoUnits;
  units.insert(units.end(), {0, 0, 0, 9});
  EXPECT_EQ(converted(units), std::nullopt);
}

TEST(H264PayloadTest, MakesAnEmptyStreamOfNoUnits) {
  EXPECT_EQ(converted({}), Bytes{});
  EXPECT_EQ(converted({1, 2, 3}), Bytes{});
}

// ---- the whole payload ----

TEST(H264PayloadTest, BeginsWithItsHead) {
  const auto payload = payloadOf(twoUnits);
  ASSERT_TRUE(payload);
  EXPECT_THAT(headOf(*payload),
              ElementsAre('Q', 'N', 'H', '2', 0, 0, 0x07, 0x80, 0x04, 0x38, 0, 0));
  EXPECT_EQ(streamOf(*payload), converted(twoUnits));
}

TEST(H264PayloadTest, MarksAKeyFrame) {
  EXPECT_EQ(payloadOf(twoUnits, {.isKeyFrame = true})->bytes()[4], 1);
  EXPECT_EQ(payloadOf(twoUnits, {.isKeyFrame = false})->bytes()[4], 0);
}

TEST(H264PayloadTest, PutsTheParameterSetsBeforeTheUnits) {
  const auto payload = payloadOf({0, 0, 0, 1, 0x65}, {.parameterSets = bothSets});
  ASSERT_TRUE(payload);
  EXPECT_THAT(streamOf(*payload), ElementsAre(0, 0, 0, 1, 0x67, 0x4D, 0x00,  //
                                              0, 0, 0, 1, 0x68, 0xEE,        //
                                              0, 0, 0, 1, 0x65));
}

TEST(H264PayloadTest, LeavesOutAParameterSetThatIsNotThere) {
  const auto payload = payloadOf({0, 0, 0, 1, 0x65}, {.parameterSets = {std::nullopt, pictureSet}});
  ASSERT_TRUE(payload);
  EXPECT_THAT(streamOf(*payload), ElementsAre(0, 0, 0, 1, 0x68, 0xEE, 0, 0, 0, 1, 0x65));
}

TEST(H264PayloadTest, PutsAStartCodeBeforeAnEmptyParameterSetToo) {
  const std::span<const std::uint8_t> empty;
  const auto payload = payloadOf({0, 0, 0, 1, 0x65}, {.parameterSets = {empty, std::nullopt}});
  ASSERT_TRUE(payload);
  EXPECT_THAT(streamOf(*payload), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0x65));
}

TEST(H264PayloadTest, IsNothingWithoutUnitsAndParameterSets) {
  EXPECT_EQ(payloadOf({}), std::nullopt);
  EXPECT_EQ(payloadOf({1, 2, 3}), std::nullopt);
}

TEST(H264PayloadTest, MayHoldParameterSetsAlone) {
  const auto payload = payloadOf({1, 2, 3}, {.parameterSets = bothSets, .isKeyFrame = true});
  ASSERT_TRUE(payload);
  EXPECT_EQ(payload->size(), 12U + 4 + sequenceSet.size() + 4 + pictureSet.size());
}

TEST(H264PayloadTest, IsNothingWhenAUnitIsMalformedEvenWithParameterSets) {
  EXPECT_EQ(payloadOf({0, 0, 0, 1, 0x65, 0, 0, 0, 0}, {.parameterSets = bothSets}), std::nullopt);
  EXPECT_EQ(payloadOf({0, 0, 0, 9, 0x65}, {.parameterSets = bothSets}), std::nullopt);
}

TEST(H264PayloadTest, WritesTheLargestSizesThatFit) {
  const auto payload = payloadOf(twoUnits, {.width = 65'535, .height = 65'535});
  ASSERT_TRUE(payload);
  EXPECT_THAT(headOf(*payload),
              ElementsAre('Q', 'N', 'H', '2', 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0));
}

TEST(H264PayloadTest, WritesSizesOfNothing) {
  const auto payload = payloadOf(twoUnits, {.width = 0, .height = 0});
  ASSERT_TRUE(payload);
  EXPECT_THAT(headOf(*payload), ElementsAre('Q', 'N', 'H', '2', 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(H264PayloadTest, IsNothingForSizesThatDoNotFit) {
  EXPECT_EQ(payloadOf(twoUnits, {.width = 65'536}), std::nullopt);
  EXPECT_EQ(payloadOf(twoUnits, {.height = 65'536}), std::nullopt);
  EXPECT_EQ(payloadOf(twoUnits, {.width = -1, .height = 65'536}), std::nullopt);
  EXPECT_EQ(payloadOf(twoUnits, {.width = std::numeric_limits<std::int32_t>::max()}), std::nullopt);
}

TEST(H264PayloadDeathTest, StopsTheProcessForANegativeSize) {
  EXPECT_DEATH(payloadOf(twoUnits, {.width = -1}), "size of an encoded picture is negative");
  EXPECT_DEATH(payloadOf(twoUnits, {.height = -1}), "size of an encoded picture is negative");
}

TEST(H264PayloadTest, LooksAtTheSizesOnlyOnceThereIsSomethingToSend) {
  EXPECT_EQ(payloadOf({}, {.width = -1}), std::nullopt);
  EXPECT_EQ(payloadOf({0, 0, 0, 0}, {.width = -1}), std::nullopt);
}

}  // namespace
}  // namespace quorvin
