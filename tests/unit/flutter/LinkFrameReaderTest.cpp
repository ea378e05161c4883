#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/flutter/LinkFrame.h"
#include "tests/unit/flutter/HexBytes.h"

namespace quorvin {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

std::vector<LinkFrame> sampleFrames() {
  return {{LinkFrameType::message, 0, "flutter/lifecycle", Data(Bytes{1, 2, 3})},
          {LinkFrameType::message, 0xFFFFFFFF, "", {}},
          {LinkFrameType::reply, 1, "", Data(Bytes{9, 8, 7, 6})},
          {LinkFrameType::reply, 2, "", {}},
          {LinkFrameType::emptyReply, 3, "", {}},
          {LinkFrameType::message, 4, "gr\xC3\xBC\xC3\x9F", Data(Bytes(300, 0xAA))}};
}

Bytes encoded(const std::vector<LinkFrame>& frames) {
  Bytes stream;
  for (const auto& frame : frames) {
    const Bytes bytes = encodeLinkFrame(frame);
    stream.insert(stream.end(), bytes.begin(), bytes.end());
  }
  return stream;
}

std::vector<LinkFrame> takeAll(LinkFrameReader& reader) {
  std::vector<LinkFrame> frames;
  while (auto frame = reader.next()) frames.push_back(*std::move(frame));
  return frames;
}

void expectRefused(const Bytes& stream, const char* what) {
  LinkFrameReader reader;
  reader.append(stream);
  EXPECT_THAT([&] { static_cast<void>(reader.next()); }, ThrowsMessage<LinkError>(HasSubstr(what)));
}

TEST(LinkFrameReader, HasNothingToGiveAtFirst) {
  LinkFrameReader reader;
  EXPECT_EQ(reader.next(), std::nullopt);
  reader.append({});
  EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(LinkFrameReader, GivesFramesThatCameTogetherOneByOne) {
  LinkFrameReader reader;
  reader.append(encoded(sampleFrames()));
  EXPECT_EQ(takeAll(reader), sampleFrames());
  EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(LinkFrameReader, PutsFramesTogetherWhereverTheStreamIsSplit) {
  const Bytes stream = encoded(sampleFrames());
  for (std::size_t split = 0; split <= stream.size(); ++split) {
    LinkFrameReader reader;
    reader.append(std::span(stream).first(split));
    std::vector<LinkFrame> frames = takeAll(reader);
    reader.append(std::span(stream).subspan(split));
    for (auto& frame : takeAll(reader)) frames.push_back(std::move(frame));
    EXPECT_EQ(frames, sampleFrames()) << split;
  }
}

TEST(LinkFrameReader, TakesWhatIsWrittenIntoItsRoom) {
  const Bytes stream = encoded(sampleFrames());
  for (std::size_t count = 1; count <= stream.size(); ++count) {
    LinkFrameReader reader;
    std::vector<LinkFrame> frames;
    for (auto rest = std::span(stream); !rest.empty();) {
      const auto piece = rest.first(std::min(count, rest.size()));
      rest = rest.subspan(piece.size());
      const auto room = reader.room(piece.size() + 7);  // more than comes
      ASSERT_EQ(room.size(), piece.size() + 7);
      std::ranges::copy(piece, room.begin());
      reader.received(piece.size());
      for (auto& frame : takeAll(reader)) frames.push_back(std::move(frame));
    }
    EXPECT_EQ(frames, sampleFrames()) << count;
  }
}

TEST(LinkFrameReader, GivesAFrameWithItsLastByteAndNoSooner) {
  const Bytes stream = encoded(sampleFrames());
  std::vector<std::size_t> ends;
  std::size_t end = 0;
  for (const auto& frame : sampleFrames()) ends.push_back(end += encodeLinkFrame(frame).size());

  LinkFrameReader reader;
  std::vector<std::size_t> givenAt;
  for (std::size_t i = 0; i < stream.size(); ++i) {
    reader.append(std::span(stream).subspan(i, 1));
    for (std::size_t left = takeAll(reader).size(); left > 0; --left) givenAt.push_back(i + 1);
  }
  EXPECT_EQ(givenAt, ends);
}

// Sends the same two frames over and over, in pieces that hold parts of both.
void expectTwoFramesAgainAndAgain(const LinkFrame& first, const LinkFrame& second) {
  constexpr std::size_t pieceSize = 64'000;
  const Bytes stream = encoded({first, second});
  LinkFrameReader reader;
  std::size_t frames = 0;
  for (int round = 0; round < 20; ++round) {
    for (auto rest = std::span(stream); !rest.empty();) {
      const std::size_t size = std::min(pieceSize, rest.size());
      reader.append(rest.first(size));
      rest = rest.subspan(size);
      while (const auto frame = reader.next()) {
        EXPECT_TRUE(*frame == (frames % 2 == 0 ? first : second)) << "frame " << frames;
        ++frames;
      }
    }
  }
  EXPECT_EQ(frames, 40U);
}

TEST(LinkFrameReader, LosesNothingWhereItKeepsItsBufferForTheNextFrame) {
  expectTwoFramesAgainAndAgain({LinkFrameType::reply, 5, "", Data(Bytes(700'000, 1))},
                               {LinkFrameType::reply, 6, "", Data(Bytes(3, 2))});
}

TEST(LinkFrameReader, LosesNothingWhereItGivesALargeBufferBack) {
  expectTwoFramesAgainAndAgain({LinkFrameType::reply, 5, "", Data(Bytes(1'500'000, 1))},
                               {LinkFrameType::reply, 6, "", Data(Bytes(3, 2))});
}

// --- Memory

// Appends a frame with that payload and takes it.
LinkFrame passed(LinkFrameReader& reader, const Bytes& payload) {
  reader.append(encodeLinkFrame({LinkFrameType::reply, 1, "", Data(payload)}));
  return reader.next().value();
}

TEST(LinkFrameReader, DoesNotCopyALargePayload) {
  constexpr std::size_t headSize = 9;
  const auto bytes = encodeLinkFrame({LinkFrameType::reply, 1, "", Data(Bytes(100'000, 1))});
  LinkFrameReader reader;
  const auto room = reader.room(bytes.size());
  std::ranges::copy(bytes, room.begin());
  reader.received(bytes.size());
  EXPECT_EQ(reader.next().value().payload.data(), room.data() + headSize);
}

TEST(LinkFrameReader, LeavesPayloadsAloneThatAreHeld) {
  LinkFrameReader reader;
  std::vector<LinkFrame> held;
  for (std::uint8_t filling = 0; filling < 20; ++filling) {
    held.push_back(passed(reader, Bytes(100'000, filling)));
    if (filling % 3 == 2) held.erase(held.begin());
  }
  for (const auto& frame : held) {
    EXPECT_EQ(frame.payload, Data(Bytes(100'000, frame.payload.bytes().back())));
  }
  EXPECT_EQ(held.front().payload.bytes().front(), 6);
}

TEST(LinkFrameReader, UsesTheMemoryOfAPayloadAgainThatIsNotHeld) {
  constexpr std::size_t headSize = 9;
  const Bytes large(700'000, 1);
  LinkFrameReader reader;
  const auto* const first = passed(reader, large).payload.data();
  const auto second = passed(reader, large);
  EXPECT_EQ(reader.room(1).data(), first - headSize);
}

// --- Bytes that are no frames

TEST(LinkFrameReader, RefusesALengthOutOfRangeAtOnce) {
  expectRefused(hex("00 00 00 00"), "length out of range: 0");
  expectRefused(hex("04 00 00 00"), "length out of range: 4");
  expectRefused(hex("01 00 00 04"), "length out of range: 67108865");
  expectRefused(hex("FF FF FF FF"), "length out of range");
}

TEST(LinkFrameReader, TakesTheLargestLength) {
  const LinkFrame largest{LinkFrameType::reply, 1, "", Data(Bytes(linkFrameLengthMax - 5, 0x5A))};
  LinkFrameReader reader;
  reader.append(encodeLinkFrame(largest));
  EXPECT_TRUE(reader.next() == largest);
  EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(LinkFrameReader, WaitsForTheRestOfALargeFrame) {
  LinkFrameReader reader;
  reader.append(hex("00 00 00 04 01 00 00 00 00"));
  EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(LinkFrameReader, RefusesAnUnknownTypeBeforeTheFrameIsThere) {
  for (int type = 3; type <= 255; ++type) {
    Bytes start = hex("00 00 01 00");
    start.push_back(static_cast<std::uint8_t>(type));
    expectRefused(start, "unknown frame type");
  }
}

TEST(LinkFrameReader, RefusesAMessageTooShortForItsHead) {
  expectRefused(hex("05 00 00 00 00 00 00 00 00"), "without a channel name");
  expectRefused(hex("06 00 00 00 00 00 00 00 00 00"), "without a channel name");
}

TEST(LinkFrameReader, RefusesAChannelNameThatRunsPastTheFrame) {
  expectRefused(hex("07 00 00 00 00 00 00 00 00 01 00"), "runs past the frame");
  expectRefused(hex("09 00 00 00 00 00 00 00 00 03 00 61 62"), "runs past the frame");
  // What follows belongs to the next frame and must not be taken for the name.
  expectRefused(hex("09 00 00 00 00 00 00 00 00 FF FF 61 62 00 00 00 00 00"),
                "runs past the frame");
}

TEST(LinkFrameReader, TakesAChannelNameThatFillsTheFrame) {
  LinkFrameReader reader;
  reader.append(hex("09 00 00 00 00 00 00 00 00 02 00 61 62"));
  EXPECT_EQ(reader.next(), (LinkFrame{LinkFrameType::message, 0, "ab", {}}));
}

TEST(LinkFrameReader, RefusesAChannelNameThatIsNotUtf8) {
  expectRefused(hex("08 00 00 00 00 00 00 00 00 01 00 FF"), "not UTF-8");
  // Well formed only together with the payload.
  expectRefused(hex("09 00 00 00 00 00 00 00 00 01 00 C3 BC"), "not UTF-8");
}

TEST(LinkFrameReader, RefusesAnEmptyReplyWithAPayload) {
  expectRefused(hex("06 00 00 00 02 00 00 00 00 00"), "empty reply with a payload");
}

TEST(LinkFrameReader, GivesTheGoodFramesInFrontOfABadOne) {
  Bytes stream = encoded(sampleFrames());
  stream.insert(stream.end(), {4, 0, 0, 0});
  LinkFrameReader reader;
  reader.append(stream);
  for (const auto& frame : sampleFrames()) EXPECT_EQ(reader.next(), frame);
  EXPECT_THROW(static_cast<void>(reader.next()), LinkError);
}

TEST(LinkFrameReader, StaysInErrorWhateverFollows) {
  LinkFrameReader reader;
  reader.append(hex("00 00 00 00"));
  EXPECT_THROW(static_cast<void>(reader.next()), LinkError);
  reader.append(encoded(sampleFrames()));
  EXPECT_THAT([&] { static_cast<void>(reader.next()); },
              ThrowsMessage<LinkError>(HasSubstr("length out of range: 0")));
}

}  // namespace
}  // namespace quorvin
