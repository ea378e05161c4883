#import "tests/macos/host/HostFixture.h"

#import <AppKit/DecodedJpeg.h>
#import <CoreMedia/CoreMediaControl.h>
#import <VideoToolbox/VideoToolboxControl.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvin {
namespace {

using standin::Colour;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using Bytes = std::vector<std::uint8_t>;

constexpr Colour red{.red = 200, .green = 30, .blue = 20};
constexpr standin::PixelSize small{.width = 64, .height = 40};  // quickly made a JPEG file of
constexpr std::uint64_t second = 1'000'000'000;

const Bytes sequenceSet{0x67, 0x4D, 0x00, 0x28};
const Bytes pictureSet{0x68, 0xEE, 0x3C};

id goodFormat() {
  return standin::makeFormatDescription(
      {.parameterSets = {{.bytes = sequenceSet}, {.bytes = pictureSet}}});
}

// Two units, of five and of three bytes, in data that do not lie in one piece.
id goodData() {
  return standin::makeBlockBuffer(
      {.blocks = {{0, 0, 0, 5, 0x65, 1, 2}, {3, 4, 0, 0}, {0, 3, 0x65, 5, 6}}});
}

id attachmentsWithNotSync(id value) {
  return @[ @{(__bridge id)kCMSampleAttachmentKey_NotSync : value} ];
}

Bytes joined(const std::vector<Bytes>& parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

const Bytes startCode{0, 0, 0, 1};
// 640 x 400 pixels.
const Bytes keyFrameHead{'Q', 'N', 'H', '2', 1, 0, 2, 0x80, 1, 0x90, 0, 0};
const Bytes otherFrameHead{'Q', 'N', 'H', '2', 0, 0, 2, 0x80, 1, 0x90, 0, 0};
const Bytes parameterSets = joined({startCode, sequenceSet, startCode, pictureSet});
const Bytes frameUnits = joined({startCode, {0x65, 1, 2, 3, 4}, startCode, {0x65, 5, 6}});
const Bytes keyFrame = joined({keyFrameHead, parameterSets, frameUnits});

// The calls of Video Toolbox so far, as "name: argument | argument".
std::vector<std::string> encoderCalls() {
  std::vector<std::string> texts;
  for (const auto& call : standin::calls()) {
    if (!call.name.starts_with("VT")) continue;
    auto text = call.name + ":";
    for (std::size_t i = 0; i < call.arguments.size(); ++i) {
      text += (i == 0 ? " " : " | ") + call.arguments[i];
    }
    texts.push_back(text);
  }
  return texts;
}

std::string encodeCall(const std::string& time) {
  return "VTCompressionSessionEncodeFrame: " + time + " | invalid | NULL | NULL | NULL";
}

std::vector<std::string> creationCalls(const std::string& width, const std::string& height) {
  return {"VTCompressionSessionCreate: NULL | " + width + " | " + height +
              " | avc1 | EnableHardwareAcceleratedVideoEncoder = true | NULL | NULL",
          "VTSessionSetProperty: RealTime | true",
          "VTSessionSetProperty: AllowFrameReordering | false",
          "VTSessionSetProperty: AllowTemporalCompression | false",
          "VTSessionSetProperty: ProfileLevel | H264_Main_AutoLevel",
          "VTSessionSetProperty: ExpectedFrameRate | 15 (SInt32)",
          "VTSessionSetProperty: AverageBitRate | 4000000 (SInt64)",
          "VTSessionSetProperty: MaxKeyFrameInterval | 1 (SInt32)",
          "VTCompressionSessionPrepareToEncodeFrames:"};
}

const std::vector<std::string> endCalls{"VTCompressionSessionCompleteFrames: invalid",
                                        "VTCompressionSessionInvalidate:"};

std::vector<std::string> sequence(const std::vector<std::vector<std::string>>& parts) {
  std::vector<std::string> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// A session whose frames are asked for as H.264, on a display of 1440 x 900 points.
class VideoTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    standin::setShareableContent({.displays = {{.displayID = 7, .width = 1440, .height = 900}}});
    encodeEveryFrameAs({});
  }

  // What the encoder makes of every frame; a key frame of 640 x 400 unless something is given.
  static void encodeEveryFrameAs(const standin::SampleBufferScript& script) {
    standin::setEncoder([script](id /*frame*/, CMTime /*time*/) {
      auto sample = script;
      if (sample.dataBuffer == nil) sample.dataBuffer = goodData();
      if (sample.formatDescription == nil) sample.formatDescription = goodFormat();
      return standin::EncoderOutput{.sampleBuffer = standin::makeSampleBuffer(sample)};
    });
  }

  void startVideo() {
    startSession();
    configure(settings());
    standin::resetCallLog();
  }
  void configure(const Value& newSettings) {
    EXPECT_EQ(answer("configureStream", newSettings), nothing());
  }
  static Map settings(const std::string& codec = "h264", std::int64_t fps = 15,
                      std::int64_t bitrateMbps = 4) {
    return {{"profile", "fast"},
            {"show_cursor", false},
            {"codec", codec},
            {"max_width", 640},
            {"max_height", 480},
            {"fps", fps},
            {"bitrate_mbps", bitrateMbps},
            {"jpeg_quality", 60},
            {"queue_depth", 5}};
  }

  // A frame of that many thirtieths of a second.
  bool sendFrameAt(std::int64_t time) {
    return sendSample({.colour = red, .presentationTimeStamp = CMTimeMake(time, 30)});
  }
  bool sendFrameAt(std::int64_t time, standin::PixelSize size) {
    return sendSample({.colour = red, .presentationTimeStamp = CMTimeMake(time, 30), .size = size});
  }

  std::vector<Bytes> takePayloads() {
    std::vector<Bytes> payloads;
    for (const auto& event : takeEvents()) {
      const auto* value = std::get_if<Value>(&event);
      const auto* data = value == nullptr ? nullptr : value->as<Data>();
      EXPECT_NE(data, nullptr);
      if (data != nullptr) payloads.emplace_back(data->bytes().begin(), data->bytes().end());
    }
    return payloads;
  }
  // Whether each event since the last time was a JPEG file of the frame.
  std::vector<bool> takeJpegs() {
    std::vector<bool> shown;
    for (const auto& event : takeEvents()) {
      const auto colour = frameColour(event);
      shown.push_back(colour && standin::isClose(*colour, red));
    }
    return shown;
  }
};

TEST_F(VideoTest, BringsEncodedFramesToTheUserInterface) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    EXPECT_TRUE(sendFrameAt(2));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    EXPECT_EQ(newestStream()->framesHeld(), 0U);
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_THAT(encoderCalls(), ElementsAreArray(sequence({creationCalls("640", "400"),
                                                           {encodeCall("1/30"), encodeCall("2/30")},
                                                           endCalls})));
  });
}

TEST_F(VideoTest, EncodesOnTheCaptureQueue) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_EQ(answer("stopCapture"), nothing());
    for (const auto& call : standin::calls()) {
      if (call.name.starts_with("VT")) EXPECT_EQ(call.queue, "com.quorvin.support.capture");
    }
  });
}

TEST_F(VideoTest, TakesFramesThatComeOutInsideTheCall) {
  standin::callBackInsideTheCall();
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_TRUE(sendFrameAt(2));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame, keyFrame));
    standin::setEncoder({});  // which drops the frame
    EXPECT_TRUE(sendFrameAt(3));
    EXPECT_THAT(takePayloads(), IsEmpty());
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, ReadsAnEncodedFrameOffThatQueue) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    const auto copies = standin::callsOf("CMBlockBufferCopyDataBytes");
    ASSERT_THAT(copies, SizeIs(1));
    EXPECT_THAT(copies[0].arguments, ElementsAre("0", "16"));
    EXPECT_EQ(copies[0].queue, "");
    EXPECT_FALSE(copies[0].onMainThread);
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, GoesByWhatTheEncoderSaysOfKeyFrames) {
  run([this] {
    startVideo();
    @autoreleasepool {
      encodeEveryFrameAs({ .attachments = attachmentsWithNotSync(@YES) });
      EXPECT_TRUE(sendFrameAt(1));
      EXPECT_THAT(takePayloads(), ElementsAre(joined({otherFrameHead, frameUnits})));
      std::int64_t time = 1;
      for (id value in @[ @NO, @1, @"true" ]) {
        encodeEveryFrameAs({.attachments = attachmentsWithNotSync(value)});
        EXPECT_TRUE(sendFrameAt(++time));
        EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
      }
    }
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, DoesWithoutParameterSetsThatCannotBeHad) {
  run([this] {
    startVideo();
    @autoreleasepool {
      encodeEveryFrameAs({.formatDescription = standin::makeFormatDescription(
                              {.parameterSets = {{.bytes = sequenceSet, .hasPointer = false},
                                                 {.bytes = pictureSet}}})});
      EXPECT_TRUE(sendFrameAt(1));
    }
    EXPECT_THAT(takePayloads(),
                ElementsAre(joined({keyFrameHead, startCode, pictureSet, frameUnits})));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, SkipsFramesThatFailOnTheWay) {
  run([this] {
    startVideo();
    @autoreleasepool {
      encodeEveryFrameAs(
          {.dataBuffer = standin::makeBlockBuffer(
               {.blocks = {{0, 0, 0, 1, 0x65}}, .copyStatus = kCMBlockBufferUnallocatedBlockErr})});
      EXPECT_TRUE(sendFrameAt(1));
      encodeEveryFrameAs(
          {.dataBuffer = standin::makeBlockBuffer({.blocks = {{0, 0, 0, 2, 0x65}}})});
      EXPECT_TRUE(sendFrameAt(2));
    }
    standin::setEncoder([](id /*frame*/, CMTime /*time*/) {
      return standin::EncoderOutput{.sampleBuffer = standin::makeSampleBuffer({})};
    });
    EXPECT_TRUE(sendFrameAt(3));
    standin::setEncoder([](id /*frame*/, CMTime /*time*/) {
      return standin::EncoderOutput{.status = kVTVideoEncoderMalfunctionErr};
    });
    EXPECT_TRUE(sendFrameAt(4));
    standin::setEncoder({});  // drops every frame
    EXPECT_TRUE(sendFrameAt(5));
    EXPECT_THAT(takeEvents(), IsEmpty());
    encodeEveryFrameAs({});
    EXPECT_TRUE(sendFrameAt(6));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    EXPECT_THAT(standin::callsOf("VTCompressionSessionCreate"), SizeIs(1));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, EncodesWhateverTheEncoderSaysToItsSettings) {
  run([this] {
    startVideo();
    for (const auto* property :
         {"RealTime", "AllowFrameReordering", "AllowTemporalCompression", "ProfileLevel",
          "ExpectedFrameRate", "AverageBitRate", "MaxKeyFrameInterval"}) {
      standin::setPropertyStatus(property, kVTPropertyNotSupportedErr);
    }
    standin::setCallStatus("VTCompressionSessionPrepareToEncodeFrames",
                           kVTVideoEncoderMalfunctionErr);
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    standin::setCallStatus("VTCompressionSessionEncodeFrame", kVTVideoEncoderMalfunctionErr);
    EXPECT_TRUE(sendFrameAt(2));
    EXPECT_THAT(takeEvents(), IsEmpty());
    standin::setCallStatus("VTCompressionSessionCompleteFrames", kVTVideoEncoderMalfunctionErr);
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_THAT(encoderCalls(), ElementsAreArray(sequence({creationCalls("640", "400"),
                                                           {encodeCall("1/30"), encodeCall("2/30")},
                                                           endCalls})));
  });
}

TEST_F(VideoTest, FallsBackToJpegWithoutAnEncoder) {
  run([this] {
    startVideo();
    standin::setSessionCreationStatus(kVTCouldNotFindVideoEncoderErr);
    EXPECT_TRUE(sendFrameAt(1, small));
    EXPECT_TRUE(sendFrameAt(2, small));
    EXPECT_THAT(takeJpegs(), ElementsAre(true, true));
    EXPECT_THAT(encoderCalls(), ElementsAre(creationCalls("64", "40").front()));

    standin::setSessionCreationStatus(noErr);
    EXPECT_TRUE(sendFrameAt(3, small));
    EXPECT_THAT(takeJpegs(), ElementsAre(true));
    configure(settings());
    EXPECT_TRUE(sendFrameAt(4));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, FallsBackToJpegWhenTheSessionIsWithheld) {
  run([this] {
    startVideo();
    standin::withholdSessions();
    EXPECT_TRUE(sendFrameAt(1, small));
    EXPECT_THAT(takeJpegs(), ElementsAre(true));
    EXPECT_THAT(encoderCalls(), SizeIs(1));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, ReplacesTheEncoderWhenTheFramesChangeTheirSize) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_TRUE(sendFrameAt(2, {.width = 320, .height = 200}));
    auto smaller = keyFrame;
    std::ranges::copy(Bytes{1, 0x40, 0, 0xC8}, smaller.begin() + 6);
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame, smaller));
    EXPECT_EQ(standin::liveCompressionSessions(), 1U);
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_THAT(encoderCalls(), ElementsAreArray(sequence({creationCalls("640", "400"),
                                                           {encodeCall("1/30")},
                                                           endCalls,
                                                           creationCalls("320", "200"),
                                                           {encodeCall("2/30")},
                                                           endCalls})));
  });
}

TEST_F(VideoTest, MakesANewEncoderForNewSettings) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    standin::resetCallLog();
    configure(settings("h264", 60, 20));
    EXPECT_EQ(standin::liveCompressionSessions(), 0U);
    EXPECT_THAT(encoderCalls(), ElementsAreArray(endCalls));
    EXPECT_TRUE(sendFrameAt(2));
    const auto set = standin::callsOf("VTSessionSetProperty");
    ASSERT_THAT(set, SizeIs(7));
    EXPECT_THAT(set[4].arguments, ElementsAre("ExpectedFrameRate", "60 (SInt32)"));
    EXPECT_THAT(set[5].arguments, ElementsAre("AverageBitRate", "20000000 (SInt64)"));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, LeavesTheEncoderForJpeg) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    configure(settings("jpeg"));
    EXPECT_TRUE(sendFrameAt(2, small));
    EXPECT_THAT(takeJpegs(), ElementsAre(true));
    EXPECT_EQ(standin::liveCompressionSessions(), 0U);
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(VideoTest, SendsNothingMoreOnceItIsStopped) {
  run([this] {
    startVideo();
    standin::holdEncodedFrames();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_TRUE(sendFrameAt(2));
    EXPECT_EQ(newestStream()->framesHeld(), 2U);
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_EQ(standin::liveCompressionSessions(), 0U);
    EXPECT_THAT(takeEvents(), IsEmpty());
    EXPECT_THAT(encoderCalls(), ElementsAreArray(sequence({creationCalls("640", "400"),
                                                           {encodeCall("1/30"), encodeCall("2/30")},
                                                           endCalls})));
  });
}

TEST_F(VideoTest, LetsTheEncoderGoWhenSamplesStopArriving) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    EXPECT_THAT(takePayloads(), ElementsAre(keyFrame));
    standin::advance(9 * second);
    EXPECT_THAT(takeEvents(), SizeIs(1));
    EXPECT_EQ(standin::liveCompressionSessions(), 0U);
  });
}

TEST_F(VideoTest, LetsTheEncoderGoWhenTheSystemStopsTheStream) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    newestStream()->stopWithError(standin::streamError(SCStreamErrorUserStopped));
    standin::settle();
    EXPECT_EQ(standin::liveCompressionSessions(), 0U);
  });
}

TEST_F(VideoTest, EndsWithTheApplication) {
  run([this] {
    startVideo();
    EXPECT_TRUE(sendFrameAt(1));
    [window() close];
  });
  EXPECT_EQ(standin::liveCompressionSessions(), 0U);
}

}  // namespace
}  // namespace quorvin
