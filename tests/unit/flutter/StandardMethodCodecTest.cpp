#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#include "tests/unit/flutter/HexBytes.h"

namespace quorvin {
namespace {

void expectNoCall(const Bytes& message) {
  EXPECT_THROW(static_cast<void>(decodeMethodCall(message)), CodecError);
}

void expectNoEnvelope(const Bytes& message) {
  EXPECT_THROW(static_cast<void>(decodeEnvelope(message)), CodecError);
}

void expectRefusedWhereverCutOff(const Bytes& whole, auto decode) {
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_THROW(static_cast<void>(decode(cut)), CodecError) << size;
  }
}

TEST(MethodCall, IsItsNameFollowedByItsArguments) {
  EXPECT_EQ(encodeMethodCall({"go", Map{{"x", 1}}}),
            hex("07 02 67 6F 0D 01 07 01 78 03 01 00 00 00"));
  EXPECT_EQ(encodeMethodCall({"go", nullptr}), hex("07 02 67 6F 00"));
}

TEST(MethodCall, AlignsArgumentsFromTheStartOfTheCall) {
  const Bytes wire = hex("07 02 67 6F 06 00 00 00 00 00 00 00 00 00 F0 3F");
  EXPECT_EQ(encodeMethodCall({"go", 1.0}), wire);
  EXPECT_EQ(decodeMethodCall(wire).arguments, Value(1.0));
}

TEST(MethodCall, IsReadBack) {
  const Value arguments = Map{{"list", List{1, 2.5, nullptr}}, {"data", Data({1, 2})}};
  const FlutterMethodCall call = decodeMethodCall(encodeMethodCall({"method", arguments}));
  EXPECT_EQ(call.method, "method");
  EXPECT_EQ(call.arguments, arguments);
}

TEST(MethodCall, NeedsATextForItsName) {
  expectNoCall(hex("00 00"));
  expectNoCall(hex("03 01 00 00 00 00"));
  expectNoCall(hex("08 01 61 00"));
}

TEST(MethodCall, EndsBehindItsArguments) {
  expectNoCall(hex("07 01 61"));
  expectNoCall(hex("07 01 61 00 00"));
  expectRefusedWhereverCutOff(encodeMethodCall({"go", List{1, "two", 3.0}}), decodeMethodCall);
}

TEST(SuccessEnvelope, IsAZeroFollowedByTheValue) {
  EXPECT_EQ(encodeSuccessEnvelope(nullptr), hex("00 00"));
  EXPECT_EQ(encodeSuccessEnvelope("a"), hex("00 07 01 61"));
}

TEST(SuccessEnvelope, CountsAlignmentFromItsOwnFirstByte) {
  const Bytes wire = hex("00 06 00 00 00 00 00 00 18 2D 44 54 FB 21 09 40");
  EXPECT_EQ(encodeSuccessEnvelope(3.14159265358979311600), wire);
  EXPECT_EQ(decodeEnvelope(wire), FlutterEvent(Value(3.14159265358979311600)));
}

TEST(SuccessEnvelope, IsReadBack) {
  const Value value = Map{{"frame", Data({0xFF, 0xD8})}, {"width", 1280.5}};
  EXPECT_EQ(decodeEnvelope(encodeSuccessEnvelope(value)), FlutterEvent(value));
}

TEST(SuccessEnvelope, ThatIsSharedLeavesByteListsWhereTheyAre) {
  std::optional<Data> message(encodeSuccessEnvelope(Data({0xFF, 0xD8, 0xD9})));
  const auto* begin = message->data();
  const auto event = decodeSharedEnvelope(*message);
  message.reset();
  const auto* bytes = std::get<Value>(event).as<Data>();
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(bytes->data(), begin + 3);
  EXPECT_EQ(*bytes, Data({0xFF, 0xD8, 0xD9}));
}

TEST(ErrorEnvelope, IsAOneFollowedByCodeMessageAndDetails) {
  EXPECT_EQ(encodeErrorEnvelope({"c", "m", true}), hex("01 07 01 63 07 01 6D 01"));
  EXPECT_EQ(encodeErrorEnvelope({"c", std::nullopt, nullptr}), hex("01 07 01 63 00 00"));
}

TEST(ErrorEnvelope, CountsAlignmentFromItsOwnFirstByte) {
  EXPECT_EQ(encodeErrorEnvelope({"c", std::nullopt, 1.0}),
            hex("01 07 01 63 00 06 00 00 00 00 00 00 00 00 F0 3F"));
}

TEST(ErrorEnvelope, IsReadBack) {
  for (const FlutterError& error :
       {FlutterError{"code", "message", List{1, "two"}}, FlutterError{"", std::nullopt, nullptr},
        FlutterError{"code", "", 2.5}}) {
    EXPECT_EQ(decodeEnvelope(encodeErrorEnvelope(error)), FlutterEvent(error));
  }
}

TEST(ErrorEnvelope, MayCarryAStackTraceThatIsDropped) {
  const FlutterEvent expected = FlutterError{"c", "m", nullptr};
  EXPECT_EQ(decodeEnvelope(hex("01 07 01 63 07 01 6D 00 07 01 74")), expected);
  EXPECT_EQ(decodeEnvelope(hex("01 07 01 63 07 01 6D 00 00")), expected);
  expectNoEnvelope(hex("01 07 01 63 07 01 6D 00 01"));
  expectNoEnvelope(hex("01 07 01 63 07 01 6D 00 00 00"));
}

TEST(ErrorEnvelope, NeedsATextForItsCodeAndATextOrNullForItsMessage) {
  expectNoEnvelope(hex("01 00 00 00"));
  expectNoEnvelope(hex("01 03 01 00 00 00 00 00"));
  expectNoEnvelope(hex("01 07 01 63 01 00"));
}

TEST(Envelope, IsRefusedWhenItBreaksTheFormat) {
  expectNoEnvelope({});
  expectNoEnvelope(hex("00"));
  expectNoEnvelope(hex("00 00 00"));
  for (int mark = 2; mark <= 255; ++mark) {
    expectNoEnvelope({static_cast<std::uint8_t>(mark), 0});
  }
  expectRefusedWhereverCutOff(encodeSuccessEnvelope(List{1, "two", 3.0}), decodeEnvelope);
  expectRefusedWhereverCutOff(encodeErrorEnvelope({"code", "message", List{1.0}}), decodeEnvelope);
}

TEST(Envelope, MayHoldTextThatIsUtf8Only) {
  EXPECT_THROW(static_cast<void>(encodeMethodCall({"\xFF", nullptr})), CodecError);
  EXPECT_THROW(static_cast<void>(encodeSuccessEnvelope("\xFF")), CodecError);
  EXPECT_THROW(static_cast<void>(encodeErrorEnvelope({"c", "\xFF", nullptr})), CodecError);
}

}  // namespace
}  // namespace quorvin
