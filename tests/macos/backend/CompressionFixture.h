#pragma once

#import <CoreMedia/CoreMediaControl.h>
#import <CoreVideo/CoreVideoControl.h>
#import <VideoToolbox/VideoToolboxControl.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#import "platform/macos/CaptureSample.h"
#include "platform/macos/VideoEncoder.h"
#include "tests/macos/standin/StandInTest.h"

namespace quorvin {

// What came out of a session.
class RecordingCompressionOutput final : public CompressionOutput {
 public:
  struct Output {
    EncoderStatus status = 0;
    bool hasSample = false;
    std::size_t dataLength = 0;
    bool onMainThread = false;
  };

  void compressionDidOutput(EncoderStatus status, const EncodedSample* sample) override {
    const std::size_t length = sample == nullptr ? 0 : sample->dataLength().value_or(0);
    const std::lock_guard lock(mutex);
    outputs.push_back({status, sample != nullptr, length, standin::isMainThread()});
  }

  [[nodiscard]] std::vector<Output> received() const {
    const std::lock_guard lock(mutex);
    return outputs;
  }

 private:
  mutable std::mutex mutex;
  std::vector<Output> outputs;
};

// A Mac whose encoder makes of the nth frame n bytes.
class CompressionTest : public standin::StandInTest {
 protected:
  void SetUp() override {
    StandInTest::SetUp();
    const auto count = std::make_shared<std::size_t>(0);
    standin::setEncoder([count](id /*frame*/, CMTime /*time*/) {
      std::vector<std::uint8_t> bytes(++*count);
      return standin::EncoderOutput{
          .sampleBuffer = standin::makeSampleBuffer(
              {.dataBuffer = standin::makeBlockBuffer({.blocks = {std::move(bytes)}})})};
    });
  }

  void TearDown() override {
    standin::settle();
    standin::resetVideoToolbox();
    StandInTest::TearDown();
    EXPECT_EQ(standin::liveCompressionSessions(), 0U);
  }

  CompressionSessionResult create(const EncoderSpecification& specification = {},
                                  CompressionOutput* receiver = nullptr) {
    return encoder.createSession(64, 48, VideoCodec::h264, specification, receiver);
  }
  std::unique_ptr<CompressionSession> makeSession() {
    auto result = create({}, &output);
    EXPECT_EQ(result.status, 0);
    return std::move(result.session);
  }
  static std::shared_ptr<PixelBuffer> makeFrame() {
    id buffer = standin::makePixelBuffer(64, 48);
    return std::make_shared<MacPixelBuffer>((__bridge CVPixelBufferRef)buffer);
  }
  static EncoderStatus encode(CompressionSession& session, std::int64_t value) {
    @autoreleasepool {
      return session.encodeFrame(makeFrame(), {value, 30}, {});
    }
  }
  static std::vector<std::string> argumentsOf(const std::string& function) {
    const auto calls = standin::callsOf(function);
    EXPECT_THAT(calls, testing::SizeIs(1));
    return calls.empty() ? std::vector<std::string>() : calls.back().arguments;
  }

  RecordingCompressionOutput output;
  MacVideoEncoder encoder;
};

}  // namespace quorvin
