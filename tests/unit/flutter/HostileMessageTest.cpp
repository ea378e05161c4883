#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#include "tests/unit/flutter/HexBytes.h"

namespace quorvin {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

Value richValue() {
  return List{nullptr,
              true,
              false,
              1,
              std::int64_t{1} << 40,
              2.5,
              "gr\xC3\xBC\xC3\x9F",
              std::string(300, 't'),
              Data({1, 2, 3}),
              std::vector<std::int32_t>{1, 2},
              std::vector<std::int64_t>{3},
              std::vector<double>{4.0},
              std::vector<float>{5.0F},
              Map{{"key", List{1.0, Map{}}}, {2, "value"}},
              Data(Bytes(70000, 9))};
}

void expectError(const Bytes& message, const std::string& what) {
  EXPECT_THAT([&] { static_cast<void>(decodeMessage(message)); },
              ThrowsMessage<CodecError>(testing::StrEq(what)));
}

Bytes nestedLists(int depth) {
  Bytes message;
  for (int i = 0; i < depth; ++i) message.insert(message.end(), {0x0C, 1});
  message.push_back(0);
  return message;
}

Value nestedValue(int depth) {
  Value value;
  for (int i = 0; i < depth; ++i) {
    value = i % 2 == 0 ? Value(List{value}) : Value(Map{{"k", value}});
  }
  return value;
}

TEST(HostileMessage, IsRefusedWhereverARichMessageIsCutOff) {
  const Bytes whole = encodeMessage(richValue());
  ASSERT_EQ(decodeMessage(whole), richValue());
  // A copy of the exact size, so that a read past its end is seen by a memory checker. The inside
  // of the long run of bytes at the end is like any other place there.
  for (std::size_t size = 0; size < whole.size(); size += size < 1000 ? 1 : 997) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_THROW(static_cast<void>(decodeMessage(cut)), CodecError) << size;
  }
}

TEST(HostileMessage, IsRefusedWhenBytesFollowTheValue) {
  expectError(hex("00 00"), "bytes after the end of the message at byte 1");
  expectError(hex("03 01 00 00 00 FF"), "bytes after the end of the message at byte 5");
}

TEST(HostileMessage, NamesThePlaceOfTheError) {
  expectError({}, "message ends too early at byte 0");
  expectError(hex("0C 02 00"), "more elements than bytes at byte 2");
  expectError(hex("0C 02 00 03 01"), "message ends too early at byte 4");
  expectError(hex("0C 01 0F"), "unknown type at byte 2");
  expectError(hex("07 02 61 FF"), "text is not UTF-8 at byte 2");
}

TEST(HostileMessage, WithAnUnknownTypeIsRefused) {
  for (int tag = 15; tag <= 255; ++tag) {
    const Bytes message = {static_cast<std::uint8_t>(tag), 0, 0, 0, 0, 0, 0, 0, 0};
    expectError(message, "unknown type at byte 0");
  }
}

TEST(HostileMessage, WithTextThatIsNotUtf8IsRefused) {
  expectError(hex("07 01 80"), "text is not UTF-8 at byte 2");
  expectError(hex("07 03 ED A0 80"), "text is not UTF-8 at byte 2");
  expectError(hex("05 01 FF"), "text is not UTF-8 at byte 2");
  expectError(hex("0D 01 07 01 80 00"), "text is not UTF-8 at byte 4");
}

TEST(HostileMessage, ThatClaimsMoreThanItHoldsIsRefusedBeforeAnythingIsReserved) {
  // Had the claims been believed, these would ask for 4 GiB and more.
  for (const std::uint8_t tag : hex("05 07 08 09 0A 0B 0E")) {
    const Bytes message = joined({{tag}, hex("FF FF FF FF FF"), zeros(64)});
    EXPECT_THAT([&] { static_cast<void>(decodeMessage(message)); },
                ThrowsMessage<CodecError>(HasSubstr("message ends too early")))
        << int{tag};
  }
  for (const std::uint8_t tag : hex("0C 0D")) {
    const Bytes message = joined({{tag}, hex("FF FF FF FF FF"), zeros(64)});
    expectError(message, "more elements than bytes at byte 6");
  }
}

TEST(HostileMessage, NeedsAByteForEachElementAndTwoForEachEntry) {
  EXPECT_EQ(decodeMessage(hex("0C 03 00 00 00")), Value(List(3)));
  expectError(hex("0C 04 00 00 00"), "more elements than bytes at byte 2");
  EXPECT_EQ(decodeMessage(hex("0D 01 00 00")), Value(Map{{nullptr, nullptr}}));
  expectError(hex("0D 02 00 00 00"), "more elements than bytes at byte 2");
}

TEST(HostileMessage, CannotClaimTheSameBytesInOneListAfterTheOther) {
  // Each list claims all that follows; together they claim more values than there are bytes.
  Bytes message;
  for (int i = 0; i < 40; ++i) {
    message.insert(message.end(), {0x0C, static_cast<std::uint8_t>(2 * (40 - i) - 2)});
  }
  EXPECT_THAT([&] { static_cast<void>(decodeMessage(message)); },
              ThrowsMessage<CodecError>(testing::StrEq("too many values at byte 4")));
}

TEST(HostileMessage, MayHoldValuesUpToTheLimitOnly) {
  const auto listOf = [](std::size_t count) {
    Bytes message = {0x0C, 0xFF};
    for (int i = 0; i < 4; ++i) message.push_back(static_cast<std::uint8_t>(count >> (8 * i)));
    message.resize(message.size() + count);
    return message;
  };
  EXPECT_EQ(decodeMessage(listOf(messageValuesMax)), Value(List(messageValuesMax)));
  expectError(listOf(messageValuesMax + 1), "too many values at byte 6");
}

TEST(HostileMessage, MayNestUpToTheLimitOnly) {
  EXPECT_EQ(encodeMessage(decodeMessage(nestedLists(messageNestingMax))),
            nestedLists(messageNestingMax));
  expectError(nestedLists(messageNestingMax + 1),
              "nested too deeply at byte " + std::to_string(2 * messageNestingMax + 1));
  EXPECT_THROW(static_cast<void>(decodeMessage(nestedLists(1'000'000))), CodecError);
}

TEST(HostileMessage, MayHoldAnyNumberOfListsSideBySide) {
  const List flat(std::size_t{3} * messageNestingMax, Value(List{Map{}}));
  EXPECT_EQ(decodeMessage(encodeMessage(flat)), Value(flat));
}

TEST(UnspeakableValue, ThatNestsTooDeeplyIsRefused) {
  EXPECT_EQ(decodeMessage(encodeMessage(nestedValue(messageNestingMax))),
            nestedValue(messageNestingMax));
  EXPECT_THROW(static_cast<void>(encodeMessage(nestedValue(messageNestingMax + 1))), CodecError);
}

TEST(UnspeakableValue, WithTooManyValuesIsRefused) {
  EXPECT_EQ(encodeMessage(List(messageValuesMax)).size(), messageValuesMax + 6);
  EXPECT_THROW(static_cast<void>(encodeMessage(List(messageValuesMax + 1))), CodecError);
  Map map;
  for (std::size_t i = 0; i < messageValuesMax / 2; ++i) map.append(nullptr, nullptr);
  EXPECT_EQ(encodeMessage(map).size(), messageValuesMax + 6);
  map.append(nullptr, nullptr);
  EXPECT_THROW(static_cast<void>(encodeMessage(map)), CodecError);
}

TEST(UnspeakableValue, WithTextThatIsNotUtf8IsRefused) {
  EXPECT_THROW(static_cast<void>(encodeMessage("\x80")), CodecError);
  EXPECT_THROW(static_cast<void>(encodeMessage(Map{{"\xFF", 1}})), CodecError);
}

TEST(UnspeakableValue, WithASizeOf33BitsIsRefused) {
  // Address space only: no page of it is ever touched.
  static constexpr std::size_t size = std::size_t{1} << 32;
  void* start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(start, MAP_FAILED);
  const std::shared_ptr<void> owner(start, [](void* memory) { munmap(memory, size); });
  const Data data(owner, {static_cast<const std::uint8_t*>(start), size});
  EXPECT_THAT([&] { static_cast<void>(encodeMessage(data)); },
              ThrowsMessage<CodecError>(HasSubstr("32 bits")));
}

}  // namespace
}  // namespace quorvin
