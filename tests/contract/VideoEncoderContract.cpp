#include "tests/contract/VideoEncoderContract.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace quorvin::contract {
namespace {

using ByteVector = std::vector<std::uint8_t>;

constexpr EncoderSpecification hardwareIfPossible{.enableHardwareAcceleratedVideoEncoder = true};
constexpr Colour red{.red = 200, .green = 40, .blue = 20};
constexpr Colour blue{.red = 20, .green = 50, .blue = 210};
constexpr Colour grey{.red = 128, .green = 128, .blue = 128};

std::optional<ByteVector> copyOfData(const EncodedSample& sample) {
  const auto length = sample.dataLength();
  if (!length) return std::nullopt;
  ByteVector bytes(*length);
  if (sample.copyDataBytes(bytes) != 0) return std::nullopt;
  return bytes;
}

// The NAL units behind their lengths; nothing when the lengths do not add up.
std::optional<std::vector<ByteVector>> unitsOf(const ByteVector& data) {
  std::vector<ByteVector> units;
  auto rest = std::span<const std::uint8_t>(data);
  while (!rest.empty()) {
    if (rest.size() < 4) return std::nullopt;
    std::size_t length = 0;
    for (const auto byte : rest.first(4)) length = length << 8U | byte;
    rest = rest.subspan(4);
    if (length == 0 || length > rest.size()) return std::nullopt;
    units.emplace_back(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(length));
    rest = rest.subspan(length);
  }
  return units;
}

void expectFrame(const OutputNote& note) {
  EXPECT_EQ(note.status, 0);
  ASSERT_TRUE(note.hasSample);
  ASSERT_TRUE(note.data);
  EXPECT_EQ(note.data, note.dataAgain);
  const auto units = unitsOf(*note.data);
  ASSERT_TRUE(units) << "the units follow their lengths, four bytes each";
  EXPECT_FALSE(units->empty());
}

void expectAbout(const Colour& actual, const Colour& expected) {
  constexpr int tolerance = 8;  // the encoder rounds, and so does the way to its colours and back
  EXPECT_NEAR(actual.red, expected.red, tolerance);
  EXPECT_NEAR(actual.green, expected.green, tolerance);
  EXPECT_NEAR(actual.blue, expected.blue, tolerance);
}

}  // namespace

void OutputRecorder::compressionDidOutput(EncoderStatus status, const EncodedSample* sample) {
  OutputNote note;
  note.status = status;
  note.hasSample = sample != nullptr;
  if (sample != nullptr) {
    note.attachments = sample->attachments();
    note.data = copyOfData(*sample);
    note.dataAgain = copyOfData(*sample);
    note.hasFormatDescription = sample->hasFormatDescription();
    for (std::size_t index = 0; const auto set = sample->h264ParameterSet(index); ++index) {
      note.parameterSets.emplace_back(set->begin(), set->end());
    }
  }
  outputs.add(std::move(note));
}

CompressionSessionResult VideoEncoderContract::createSession(const FrameSize& size,
                                                             OutputRecorder& recorder) {
  return world->videoEncoder().createSession(static_cast<std::int32_t>(size.width),
                                             static_cast<std::int32_t>(size.height),
                                             VideoCodec::h264, hardwareIfPossible, &recorder);
}

void VideoEncoderContract::setUp(CompressionSession& toSetUp) {
  // A property that an encoder does not know is its own affair.
  toSetUp.setProperty(CompressionProperty::realTime, true);
  toSetUp.setProperty(CompressionProperty::allowFrameReordering, false);
  toSetUp.setProperty(CompressionProperty::allowTemporalCompression, false);
  toSetUp.setProperty(CompressionProperty::profileLevel, ProfileLevel::h264MainAutoLevel);
  toSetUp.setProperty(CompressionProperty::expectedFrameRate, std::int32_t{30});
  toSetUp.setProperty(CompressionProperty::averageBitRate, std::int64_t{7'000'000});
  toSetUp.setProperty(CompressionProperty::maxKeyFrameInterval, std::int32_t{1});
}

void VideoEncoderContract::makeSession(const FrameSize& size) {
  auto made = createSession(size, output);
  ASSERT_EQ(made.status, 0);
  ASSERT_NE(made.session, nullptr);
  session = std::move(made.session);
  setUp(*session);
  ASSERT_EQ(session->prepareToEncodeFrames(), 0);
}

std::shared_ptr<PixelBuffer> VideoEncoderContract::plainFrame(const FrameSize& size,
                                                              Colour colour) {
  return world->frame(size, [=](std::size_t, std::size_t) { return colour; });
}

EncoderStatus VideoEncoderContract::encode(const std::shared_ptr<PixelBuffer>& frame) {
  return session->encodeFrame(frame, MediaTime{time++, 30}, std::nullopt);
}

void VideoEncoderContract::encodePlain(std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(encode(plainFrame(usualSize, grey)), 0);
}

DecodedFrame VideoStreamContract::decode(const OutputNote& note) {
  ByteVector byteStream;
  const auto append = [&](const ByteVector& unit) {
    byteStream.insert(byteStream.end(), {0, 0, 0, 1});
    byteStream.insert(byteStream.end(), unit.begin(), unit.end());
  };
  for (const auto& set : note.parameterSets) append(set);
  const auto units = unitsOf(note.data.value());
  for (const auto& unit : units.value()) append(unit);
  return world->decode(byteStream);
}

TEST_P(VideoEncoderContract, GivesOutEveryFrameOnce) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  ASSERT_NO_FATAL_FAILURE(encodePlain(5));
  EXPECT_TRUE(runUntil([&] { return output.outputs.size() == 5; }));
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  const auto outputs = output.outputs.all();
  ASSERT_EQ(outputs.size(), 5U);
  for (const auto& note : outputs) expectFrame(note);
}

TEST_P(VideoEncoderContract, GivesEveryFrameByItselfWithItsParameterSets) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  ASSERT_NO_FATAL_FAILURE(encodePlain(3));
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  ASSERT_EQ(output.outputs.size(), 3U);
  for (const auto& note : output.outputs.all()) {
    const bool isSync = !note.attachments || note.attachments->empty() ||
                        !note.attachments->front().notSync.value_or(false);
    EXPECT_TRUE(isSync);
    EXPECT_TRUE(note.hasFormatDescription);
    ASSERT_EQ(note.parameterSets.size(), 2U);
    // The type is in the low five bits of the first byte (ITU-T H.264, 7.3.1).
    ASSERT_FALSE(note.parameterSets[0].empty());
    EXPECT_EQ(note.parameterSets[0][0] & 0x1F, 7) << "a sequence parameter set";
    ASSERT_FALSE(note.parameterSets[1].empty());
    EXPECT_EQ(note.parameterSets[1][0] & 0x1F, 8) << "a picture parameter set";
  }
}

TEST_P(VideoEncoderContract, HasGivenOutAllWhenItHasCompletedThem) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  for (std::size_t count = 1; count <= 3; ++count) {
    ASSERT_NO_FATAL_FAILURE(encodePlain(1));
    EXPECT_EQ(session->completeFrames(std::nullopt), 0);
    EXPECT_EQ(output.outputs.size(), count);
  }
  EXPECT_EQ(session->completeFrames(std::nullopt), 0) << "with nothing left to wait for";
  EXPECT_EQ(output.outputs.size(), 3U);
}

TEST_P(VideoEncoderContract, CompletesThoseUpToATime) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  ASSERT_NO_FATAL_FAILURE(encodePlain(4));
  EXPECT_EQ(session->completeFrames(MediaTime{1, 30}), 0);
  EXPECT_GE(output.outputs.size(), 2U);
}

TEST_P(VideoEncoderContract, TakesTimeStampsOfAnyScaleAndDurations) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  const auto frame = plainFrame(usualSize, grey);
  EXPECT_EQ(session->encodeFrame(frame, {1, 30}, MediaTime{1, 30}), 0);
  EXPECT_EQ(session->encodeFrame(frame, {1'000'000'000, 1'000'000'000}, std::nullopt), 0);
  EXPECT_EQ(session->encodeFrame(frame, {1'000'000'000'000, 1'000'000}, MediaTime{0, 1}), 0);
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  EXPECT_EQ(output.outputs.size(), 3U);
}

TEST_P(VideoEncoderContract, KeepsAFrameForAsLongAsItNeedsIt) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  auto frame = plainFrame(usualSize, red);
  const std::weak_ptr<PixelBuffer> watched = frame;
  ASSERT_EQ(encode(std::exchange(frame, nullptr)), 0);
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  ASSERT_EQ(output.outputs.size(), 1U);
  expectFrame(output.outputs.all()[0]);
  session->invalidate();
  session.reset();
  EXPECT_TRUE(watched.expired()) << "and no longer";
}

TEST_P(VideoEncoderContract, GivesOutNothingOnceInvalidated) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  ASSERT_NO_FATAL_FAILURE(encodePlain(8));
  session->invalidate();
  const auto count = output.outputs.size();
  world->settle();
  EXPECT_EQ(output.outputs.size(), count);
  EXPECT_LE(count, 8U);
}

TEST_P(VideoEncoderContract, GivesOutNothingOnceItIsLetGo) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  ASSERT_NO_FATAL_FAILURE(encodePlain(8));
  session.reset();
  const auto count = output.outputs.size();
  world->settle();
  EXPECT_EQ(output.outputs.size(), count);
}

TEST_P(VideoEncoderContract, MayBeLetGoUnused) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  session->invalidate();
  session.reset();
  EXPECT_EQ(output.outputs.size(), 0U);
}

TEST_P(VideoEncoderContract, EncodesWithoutHavingBeenSetUp) {
  auto made = createSession(usualSize, output);
  ASSERT_NE(made.session, nullptr);
  session = std::move(made.session);
  ASSERT_NO_FATAL_FAILURE(encodePlain(2));
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  EXPECT_EQ(output.outputs.size(), 2U);
}

TEST_P(VideoEncoderContract, GoesOnAfterAFrameThatItCannotEncode) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  const bool taken = encode(world->unusableFrame(usualSize)) == 0;
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  // Refused, or taken and then given out without a sample.
  EXPECT_EQ(output.outputs.size(), taken ? 1U : 0U);
  for (const auto& note : output.outputs.all()) EXPECT_FALSE(note.hasSample);
  ASSERT_NO_FATAL_FAILURE(encodePlain(1));
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  const auto outputs = output.outputs.all();
  ASSERT_FALSE(outputs.empty());
  expectFrame(outputs.back());
}

TEST_P(VideoEncoderContract, GivesSessionsThatDoNotDisturbEachOther) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  OutputRecorder otherOutput;
  const auto other = createSession({32, 32}, otherOutput);
  ASSERT_NE(other.session, nullptr);
  setUp(*other.session);
  ASSERT_NO_FATAL_FAILURE(encodePlain(1));
  EXPECT_EQ(other.session->encodeFrame(plainFrame({32, 32}, blue), {0, 30}, std::nullopt), 0);
  EXPECT_EQ(other.session->completeFrames(std::nullopt), 0);
  EXPECT_EQ(otherOutput.outputs.size(), 1U);
  other.session->invalidate();
  ASSERT_NO_FATAL_FAILURE(encodePlain(1));
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  EXPECT_EQ(output.outputs.size(), 2U);
  EXPECT_EQ(otherOutput.outputs.size(), 1U);
}

TEST_P(VideoEncoderContract, MayBeUsedByOneThreadAfterAnother) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  std::thread([&] {
    EXPECT_EQ(encode(plainFrame(usualSize, grey)), 0);
    EXPECT_EQ(session->completeFrames(std::nullopt), 0);
    session->invalidate();
    session.reset();
  }).join();
  EXPECT_EQ(output.outputs.size(), 1U);
}

TEST_P(VideoEncoderContract, DeclinesSizesThatNoFrameHas) {
  for (const auto& [width, height] : {std::pair{0, 48}, std::pair{64, 0}, std::pair{-64, 48}}) {
    const auto made = world->videoEncoder().createSession(width, height, VideoCodec::h264,
                                                          hardwareIfPossible, &output);
    EXPECT_TRUE(made.status != 0 || made.session == nullptr) << width << " x " << height;
  }
}

TEST_P(VideoStreamContract, ShowsTheFramesInTheOrderInWhichTheyWerePutIn) {
  ASSERT_NO_FATAL_FAILURE(makeSession(usualSize));
  const std::vector<Colour> colours{red, blue, grey, blue, red};
  for (const auto& colour : colours) ASSERT_EQ(encode(plainFrame(usualSize, colour)), 0);
  EXPECT_EQ(session->completeFrames(std::nullopt), 0);
  const auto outputs = output.outputs.all();
  ASSERT_EQ(outputs.size(), colours.size());
  for (std::size_t i = 0; i < colours.size(); ++i) {
    const auto decoded = decode(outputs[i]);
    ASSERT_EQ(decoded.size, usualSize);
    expectAbout(decoded.at(0, 0), colours[i]);
    expectAbout(decoded.at(usualSize.width - 1, usualSize.height - 1), colours[i]);
  }
}

TEST_P(VideoStreamContract, KeepsTheSizeOfTheFrame) {
  for (const auto& size : {FrameSize{32, 32}, FrameSize{640, 34}, FrameSize{1920, 1080}}) {
    OutputRecorder recorder;
    const auto made = createSession(size, recorder);
    ASSERT_NE(made.session, nullptr);
    setUp(*made.session);
    ASSERT_EQ(made.session->encodeFrame(plainFrame(size, blue), {0, 30}, std::nullopt), 0);
    EXPECT_EQ(made.session->completeFrames(std::nullopt), 0);
    ASSERT_EQ(recorder.outputs.size(), 1U);
    EXPECT_EQ(decode(recorder.outputs.all()[0]).size, size);
  }
}

}  // namespace quorvin::contract
