#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>

#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"
#include "tests/unit/flutter/RandomValue.h"

namespace quorvin {
namespace {

constexpr std::uint64_t seeds = 3000;

TEST(MessageProperties, EveryValueIsReadBackAsItWas) {
  for (std::uint64_t seed = 0; seed < seeds; ++seed) {
    const Value value = RandomValue(seed).next();
    EXPECT_EQ(decodeMessage(encodeMessage(value)), value) << "seed " << seed;
  }
}

TEST(MessageProperties, EveryCallAndEnvelopeIsReadBackAsItWas) {
  for (std::uint64_t seed = 0; seed < seeds; ++seed) {
    const Value value = RandomValue(seed).next();
    const FlutterMethodCall call = decodeMethodCall(encodeMethodCall({"method", value}));
    EXPECT_EQ(call.arguments, value) << "seed " << seed;
    EXPECT_EQ(decodeEnvelope(encodeSuccessEnvelope(value)), FlutterEvent(value)) << "seed " << seed;
    const FlutterError error{"code", "message", value};
    EXPECT_EQ(decodeEnvelope(encodeErrorEnvelope(error)), FlutterEvent(error)) << "seed " << seed;
  }
}

TEST(MessageProperties, EveryMessageIsAllocatedInItsExactSize) {
  for (std::uint64_t seed = 0; seed < seeds; ++seed) {
    const Value value = RandomValue(seed).next();
    for (const Bytes& message : {encodeMessage(value), encodeMethodCall({"method", value}),
                                 encodeSuccessEnvelope(value)}) {
      EXPECT_EQ(message.capacity(), message.size()) << "seed " << seed;
    }
  }
}

// Whatever one flipped byte makes of a message, the answer is a value or a CodecError.
TEST(MessageProperties, ADamagedMessageIsReadOrRefused) {
  int read = 0;
  int refused = 0;
  for (std::uint64_t seed = 0; seed < seeds; ++seed) {
    Bytes message = encodeMessage(RandomValue(seed).next());
    std::mt19937_64 engine(seed);
    message[engine() % message.size()] ^= static_cast<std::uint8_t>(1 + engine() % 255);
    try {
      // NaN may have come about, so that only the bytes can be compared.
      const Bytes again = encodeMessage(decodeMessage(message));
      EXPECT_EQ(encodeMessage(decodeMessage(again)), again) << "seed " << seed;
      ++read;
    } catch (const CodecError&) {
      ++refused;
    }
  }
  EXPECT_GT(read, 100);
  EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace quorvin
