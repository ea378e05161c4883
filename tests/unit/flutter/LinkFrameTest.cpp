#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"
#include "tests/unit/flutter/HexBytes.h"

namespace quorvin {
namespace {

void expectUnwritable(const LinkFrame& frame) {
  EXPECT_THROW(static_cast<void>(encodeLinkFrame(frame)), LinkError);
}

TEST(LinkFrame, OfAMessageCarriesItsChannel) {
  EXPECT_EQ(encodeLinkFrame({LinkFrameType::message, 0x12345678, "ab", Data(Bytes{0xEE, 0xFF})}),
            hex("0B 00 00 00 00 78 56 34 12 02 00 61 62 EE FF"));
}

TEST(LinkFrame, OfAMessageMayBeEmptyExceptForItsHead) {
  EXPECT_EQ(encodeLinkFrame({LinkFrameType::message, 0, "", {}}),
            hex("07 00 00 00 00 00 00 00 00 00 00"));
}

TEST(LinkFrame, OfAReplyHasNoChannel) {
  EXPECT_EQ(encodeLinkFrame({LinkFrameType::reply, 7, "", Data(Bytes{0xEE})}),
            hex("06 00 00 00 01 07 00 00 00 EE"));
  EXPECT_EQ(encodeLinkFrame({LinkFrameType::reply, 7, "", {}}), hex("05 00 00 00 01 07 00 00 00"));
  EXPECT_EQ(encodeLinkFrame({LinkFrameType::emptyReply, 7, "", {}}),
            hex("05 00 00 00 02 07 00 00 00"));
}

TEST(LinkFrame, ThatAReaderWouldRefuseCannotBeWritten) {
  expectUnwritable({LinkFrameType::emptyReply, 7, "", Data(Bytes{1})});
  expectUnwritable({LinkFrameType::reply, 7, "channel", {}});
  expectUnwritable({LinkFrameType::emptyReply, 7, "channel", {}});
  expectUnwritable({LinkFrameType::message, 0, "\xFF", {}});
}

TEST(LinkFrame, TakesAChannelNameOf16BitsLength) {
  const std::string longest(65535, 'c');
  EXPECT_EQ(encodeLinkFrame({LinkFrameType::message, 0, longest, {}}).size(), 4U + 7U + 65535U);
  expectUnwritable({LinkFrameType::message, 0, longest + 'c', {}});
}

TEST(LinkFrame, HasALengthLimit) {
  LinkFrame frame{LinkFrameType::reply, 1, "", Data(Bytes(linkFrameLengthMax - 5))};
  EXPECT_EQ(encodeLinkFrame(frame).size(), 4U + linkFrameLengthMax);
  frame.payload = Data(Bytes(linkFrameLengthMax - 4));
  expectUnwritable(frame);
}

TEST(EventLinkFrame, IsAMessageWithoutIdThatHoldsASuccessEnvelope) {
  const Value event = Map{{"frame", Data({0xFF, 0xD8, 0xD9})}, {"width", 1280.0}, {"n", 3}};
  const LinkFrame sameFrame{LinkFrameType::message, 0, "events",
                            Data(encodeSuccessEnvelope(event))};
  EXPECT_EQ(encodeEventLinkFrame("events", event), encodeLinkFrame(sameFrame));
}

TEST(EventLinkFrame, CountsAlignmentFromTheEnvelopeWhateverTheHeadMeasures) {
  for (std::size_t length = 0; length < 9; ++length) {
    const std::string channel(length, 'c');
    const Bytes payload = hex("00 06 00 00 00 00 00 00 00 00 00 00 00 00 F0 3F");
    EXPECT_EQ(encodeEventLinkFrame(channel, 1.0),
              encodeLinkFrame({LinkFrameType::message, 0, channel, Data(payload)}));
  }
}

TEST(EventLinkFrame, IsAllocatedInItsExactSize) {
  const Bytes frame = encodeEventLinkFrame("events", Map{{"f", Data(Bytes(1000))}, {"w", 1.0}});
  EXPECT_EQ(frame.capacity(), frame.size());
}

TEST(EventLinkFrame, RefusesWhatCannotBeWritten) {
  EXPECT_THROW(static_cast<void>(encodeEventLinkFrame("events", "\xFF")), CodecError);
  EXPECT_THROW(static_cast<void>(encodeEventLinkFrame("\xFF", nullptr)), LinkError);
  EXPECT_THROW(static_cast<void>(encodeEventLinkFrame("e", Data(Bytes(linkFrameLengthMax)))),
               LinkError);
}

}  // namespace
}  // namespace quorvin
