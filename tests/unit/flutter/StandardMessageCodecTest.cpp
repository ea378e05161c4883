#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#include "tests/unit/flutter/HexBytes.h"

namespace quorvin {
namespace {

constexpr auto int32Min = std::numeric_limits<std::int32_t>::min();
constexpr auto int32Max = std::numeric_limits<std::int32_t>::max();
constexpr auto int64Min = std::numeric_limits<std::int64_t>::min();
constexpr auto int64Max = std::numeric_limits<std::int64_t>::max();

struct Vector {
  const char* what;
  Value value;
  Bytes wire;
};

std::ostream& operator<<(std::ostream& out, const Vector& vector) {
  return out << vector.what;
}

std::vector<Vector> vectors() {
  return {
      {"null", nullptr, hex("00")},
      {"true", true, hex("01")},
      {"false", false, hex("02")},
      {"zero", 0, hex("03 00 00 00 00")},
      {"small integer", 254, hex("03 FE 00 00 00")},
      {"four different bytes", 0x12345678, hex("03 78 56 34 12")},
      {"minus one", -1, hex("03 FF FF FF FF")},
      {"largest 32 bits", int32Max, hex("03 FF FF FF 7F")},
      {"smallest 32 bits", int32Min, hex("03 00 00 00 80")},
      {"just above 32 bits", std::int64_t{int32Max} + 1, hex("04 00 00 00 80 00 00 00 00")},
      {"just below 32 bits", std::int64_t{int32Min} - 1, hex("04 FF FF FF 7F FF FF FF FF")},
      {"unsigned 32 bits", 0xFEDCBA09U, hex("04 09 BA DC FE 00 00 00 00")},
      {"largest 64 bits", int64Max, hex("04 FF FF FF FF FF FF FF 7F")},
      {"smallest 64 bits", int64Min, hex("04 00 00 00 00 00 00 00 80")},
      {"pi", 3.14159265358979311600, hex("06 00 00 00 00 00 00 00 18 2D 44 54 FB 21 09 40")},
      {"minus zero", -0.0, hex("06 00 00 00 00 00 00 00 00 00 00 00 00 00 00 80")},
      {"empty text", "", hex("07 00")},
      {"text", "h\xE2\x98\xBAw", hex("07 05 68 E2 98 BA 77")},
      {"text with a zero inside", std::string("a\0b", 3), hex("07 03 61 00 62")},
      {"empty bytes", Data(), hex("08 00")},
      {"bytes", Data({1, 0xFF}), hex("08 02 01 FF")},
      {"32-bit list", std::vector<std::int32_t>{1, -2}, hex("09 02 00 00 01 00 00 00 FE FF FF FF")},
      {"64-bit list", std::vector<std::int64_t>{-2},
       hex("0A 01 00 00 00 00 00 00 FE FF FF FF FF FF FF FF")},
      {"double list", std::vector<double>{1.0},
       hex("0B 01 00 00 00 00 00 00 00 00 00 00 00 00 F0 3F")},
      {"list", List{nullptr, true, 1, "a"}, hex("0C 04 00 01 03 01 00 00 00 07 01 61")},
      {"map", Map{{"a", 1}, {2, nullptr}}, hex("0D 02 07 01 61 03 01 00 00 00 03 02 00 00 00 00")},
      {"float list", std::vector<float>{1.0F, -0.5F}, hex("0E 02 00 00 00 00 80 3F 00 00 00 BF")},
      // An empty list of numbers is padded all the same.
      {"empty 32-bit list", std::vector<std::int32_t>{}, hex("09 00 00 00")},
      {"empty 64-bit list", std::vector<std::int64_t>{}, hex("0A 00 00 00 00 00 00 00")},
      {"empty double list", std::vector<double>{}, hex("0B 00 00 00 00 00 00 00")},
      {"empty float list", std::vector<float>{}, hex("0E 00 00 00")},
      {"empty list", List{}, hex("0C 00")},
      {"empty map", Map{}, hex("0D 00")},
      {"nested", List{List{}, Map{{"k", List{false}}}}, hex("0C 02 0C 00 0D 01 07 01 6B 0C 01 02")},
  };
}

class StandardMessageCodecVector : public testing::TestWithParam<Vector> {};

TEST_P(StandardMessageCodecVector, IsWrittenAsTheFormatSays) {
  EXPECT_EQ(encodeMessage(GetParam().value), GetParam().wire);
}

TEST_P(StandardMessageCodecVector, IsReadBack) {
  const Value read = decodeMessage(GetParam().wire);
  EXPECT_EQ(read, GetParam().value);
  EXPECT_EQ(encodeMessage(read), GetParam().wire);
}

INSTANTIATE_TEST_SUITE_P(All, StandardMessageCodecVector, testing::ValuesIn(vectors()));

TEST(StandardMessageCodec, ReadsASmallIntegerThatWasSentIn64Bits) {
  EXPECT_EQ(decodeMessage(hex("04 FE 00 00 00 00 00 00 00")), Value(254));
}

TEST(StandardMessageCodec, ReadsABigIntegerAsItsHexadecimalText) {
  EXPECT_EQ(decodeMessage(hex("05 04 31 36 61 46")), Value("16aF"));
}

TEST(StandardMessageCodec, KeepsNotANumber) {
  const Bytes wire = hex("06 00 00 00 00 00 00 00 00 00 00 00 00 00 F8 7F");
  const Value read = decodeMessage(wire);
  ASSERT_NE(read.as<double>(), nullptr);
  EXPECT_TRUE(std::isnan(*read.as<double>()));
  EXPECT_EQ(encodeMessage(read), wire);
}

TEST(StandardMessageCodec, KeepsTheOrderAndTheRepetitionsOfAMap) {
  const Value map = Map{{"b", 1}, {"a", 2}, {"b", 3}};
  EXPECT_EQ(decodeMessage(encodeMessage(map)), map);
}

TEST(StandardMessageCodec, TakesAnyValueAsAKey) {
  const Value map = Map{{List{1, 2}, "list"}, {nullptr, "null"}, {1.5, "double"}};
  EXPECT_EQ(decodeMessage(encodeMessage(map)), map);
}

TEST(StandardMessageCodec, GivesReadBytesStorageOfTheirOwn) {
  Bytes wire = hex("08 02 01 FF");
  const Value read = decodeMessage(wire);
  wire.assign(wire.size(), 0);
  EXPECT_EQ(read, Value(Data({1, 0xFF})));
}

TEST(StandardMessageCodec, AlignsANumberFromTheStartOfTheMessage) {
  // The tag's place decides how much padding follows it: none to seven bytes.
  for (std::size_t shift = 0; shift < 16; ++shift) {
    List list(shift, Value(true));
    list.emplace_back(2.0);
    const Bytes expected = joined({{0x0C, static_cast<std::uint8_t>(shift + 1)},
                                   Bytes(shift, 1),
                                   {0x06},
                                   zeros((8 - (shift + 3) % 8) % 8),
                                   hex("00 00 00 00 00 00 00 40")});
    EXPECT_EQ(encodeMessage(list), expected) << shift;
    EXPECT_EQ(decodeMessage(expected), Value(list)) << shift;
  }
}

TEST(StandardMessageCodec, AlignsListsOfNumbersToTheirOwnWidth) {
  // One byte in front of the tag: the elements would start at byte 5, or, of a float, at 8.
  EXPECT_EQ(encodeMessage(List{true, std::vector<std::int32_t>{7}}),
            hex("0C 02 01 09 01 00 00 00 07 00 00 00"));
  EXPECT_EQ(encodeMessage(List{true, std::vector<float>{1.0F}}),
            hex("0C 02 01 0E 01 00 00 00 00 00 80 3F"));
  EXPECT_EQ(encodeMessage(List{true, std::vector<std::int64_t>{7}}),
            hex("0C 02 01 0A 01 00 00 00 07 00 00 00 00 00 00 00"));
  EXPECT_EQ(encodeMessage(List{true, std::vector<double>{1.0}}),
            hex("0C 02 01 0B 01 00 00 00 00 00 00 00 00 00 F0 3F"));
}

TEST(StandardMessageCodec, DoesNotAlignIntegers) {
  EXPECT_EQ(encodeMessage(List{7, int64Max}),
            hex("0C 02 03 07 00 00 00 04 FF FF FF FF FF FF FF 7F"));
}

TEST(StandardMessageCodec, DoesNotCareWhatPaddingHolds) {
  EXPECT_EQ(decodeMessage(hex("06 01 02 03 04 05 06 07 00 00 00 00 00 00 F0 3F")), Value(1.0));
}

struct SizeBorder {
  std::size_t size;
  Bytes wire;
};

std::ostream& operator<<(std::ostream& out, const SizeBorder& border) {
  return out << border.size;
}

class StandardMessageCodecSize : public testing::TestWithParam<SizeBorder> {};

TEST_P(StandardMessageCodecSize, OfATextTakesTheShortestForm) {
  const auto& [size, wire] = GetParam();
  const Bytes expected = joined({{0x07}, wire, Bytes(size, 'x')});
  EXPECT_EQ(encodeMessage(std::string(size, 'x')), expected);
  EXPECT_EQ(decodeMessage(expected), Value(std::string(size, 'x')));
}

TEST_P(StandardMessageCodecSize, OfBytesTakesTheShortestForm) {
  const auto& [size, wire] = GetParam();
  const Bytes expected = joined({{0x08}, wire, Bytes(size, 0xAB)});
  EXPECT_EQ(encodeMessage(Data(Bytes(size, 0xAB))), expected);
  EXPECT_EQ(decodeMessage(expected), Value(Data(Bytes(size, 0xAB))));
}

TEST_P(StandardMessageCodecSize, OfNumbersCountsElements) {
  const auto& [size, wire] = GetParam();
  const Bytes head = joined({{0x09}, wire});
  const Bytes expected = joined({head, zeros((4 - head.size() % 4) % 4), Bytes(size * 4, 0x11)});
  const std::vector<std::int32_t> numbers(size, 0x11111111);
  EXPECT_EQ(encodeMessage(numbers), expected);
  EXPECT_EQ(decodeMessage(expected), Value(numbers));
}

TEST_P(StandardMessageCodecSize, OfAListAndAMapCountsElements) {
  const auto& [size, wire] = GetParam();
  const Bytes list = joined({{0x0C}, wire, Bytes(size, 2)});
  EXPECT_EQ(encodeMessage(List(size, Value(false))), list);
  EXPECT_EQ(decodeMessage(list), Value(List(size, Value(false))));

  Map entries;
  for (std::size_t i = 0; i < size; ++i) entries.append(true, true);
  const Bytes map = joined({{0x0D}, wire, Bytes(2 * size, 1)});
  EXPECT_EQ(encodeMessage(entries), map);
  EXPECT_EQ(decodeMessage(map), Value(entries));
}

INSTANTIATE_TEST_SUITE_P(Borders, StandardMessageCodecSize,
                         testing::Values(SizeBorder{253, hex("FD")},
                                         SizeBorder{254, hex("FE FE 00")},
                                         SizeBorder{255, hex("FE FF 00")},
                                         SizeBorder{65535, hex("FE FF FF")},
                                         SizeBorder{65536, hex("FF 00 00 01 00")}));

TEST(StandardMessageCodec, ReadsSizesInALongerFormThanNeeded) {
  EXPECT_EQ(decodeMessage(hex("07 FE 01 00 61")), Value("a"));
  EXPECT_EQ(decodeMessage(hex("07 FF 01 00 00 00 61")), Value("a"));
  EXPECT_EQ(decodeMessage(hex("0C FE 00 00")), Value(List{}));
  EXPECT_EQ(decodeMessage(hex("0D FF 00 00 00 00")), Value(Map{}));
}

}  // namespace
}  // namespace quorvin
