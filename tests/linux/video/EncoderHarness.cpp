#include "tests/linux/video/EncoderHarness.h"

#include <chrono>
#include <stdexcept>

namespace quorvin {

namespace {

constexpr std::chrono::seconds timeout{20};
constexpr std::size_t lengthBytes = 4;

void appendUnit(std::vector<std::uint8_t>& stream, std::span<const std::uint8_t> unit) {
  stream.insert(stream.end(), {0, 0, 0, 1});
  stream.insert(stream.end(), unit.begin(), unit.end());
}

std::vector<std::uint8_t> payloadOf(const EncodedSample& sample,
                                    std::span<const std::uint8_t> data) {
  std::vector<std::uint8_t> stream;
  for (std::size_t index = 0; const auto set = sample.h264ParameterSet(index); ++index) {
    appendUnit(stream, *set);
  }
  while (data.size() >= lengthBytes) {
    std::size_t length = 0;
    for (const auto byte : data.first(lengthBytes)) length = length << 8U | byte;
    if (length > data.size() - lengthBytes) throw std::runtime_error("a unit runs past the end");
    appendUnit(stream, data.subspan(lengthBytes, length));
    data = data.subspan(lengthBytes + length);
  }
  if (!data.empty()) throw std::runtime_error("bytes are left over");
  return stream;
}

}  // namespace

void EncoderRecorder::compressionDidOutput(EncoderStatus status, const EncodedSample* sample) {
  EncoderOutput output;
  output.status = status;
  output.hasSample = sample != nullptr;
  if (sample != nullptr) {
    output.data.resize(sample->dataLength().value());
    if (sample->copyDataBytes(output.data) != 0) throw std::runtime_error("no data");
    output.payload = payloadOf(*sample, output.data);
  }
  {
    const std::scoped_lock lock(mutex);
    recorded.push_back(std::move(output));
    changed.notify_all();
  }
  if (action) action();
}

std::vector<EncoderOutput> EncoderRecorder::outputs() {
  const std::scoped_lock lock(mutex);
  return recorded;
}

std::vector<std::vector<std::uint8_t>> EncoderRecorder::payloads() {
  const std::scoped_lock lock(mutex);
  std::vector<std::vector<std::uint8_t>> payloads;
  for (const auto& output : recorded) {
    if (output.hasSample) payloads.push_back(output.payload);
  }
  return payloads;
}

bool EncoderRecorder::waitFor(std::size_t count) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, timeout, [&] { return recorded.size() >= count; });
}

EncoderHarness::EncoderHarness(PixelSize size, std::int64_t bitRate) {
  auto made = encoder.createSession(size.width, size.height, VideoCodec::h264,
                                    {.enableHardwareAcceleratedVideoEncoder = true}, &recorder);
  if (made.status != 0 || !made.session) throw std::runtime_error("no session");
  session = std::move(made.session);
  const auto set = [this](CompressionProperty property, CompressionPropertyValue value) {
    if (session->setProperty(property, value) != 0) throw std::runtime_error("no such property");
  };
  set(CompressionProperty::realTime, true);
  set(CompressionProperty::allowFrameReordering, false);
  set(CompressionProperty::allowTemporalCompression, false);
  set(CompressionProperty::profileLevel, ProfileLevel::h264MainAutoLevel);
  set(CompressionProperty::expectedFrameRate, 30);
  set(CompressionProperty::averageBitRate, bitRate);
  set(CompressionProperty::maxKeyFrameInterval, 1);
  if (session->prepareToEncodeFrames() != 0) throw std::runtime_error("not prepared");
}

EncoderOutput EncoderHarness::encode(const std::shared_ptr<PixelBuffer>& frame,
                                     std::chrono::nanoseconds at) {
  now = at;
  if (session->encodeFrame(frame, {at.count(), std::nano::den}, {}) != 0 ||
      session->completeFrames({}) != 0) {
    throw std::runtime_error("not encoded");
  }
  return recorder.outputs().back();
}

EncoderOutput EncoderHarness::encode(const std::shared_ptr<PixelBuffer>& frame) {
  return encode(frame, now + std::chrono::nanoseconds(std::nano::den / 30));
}

DecodedFrame perfectlyDecoded(const CapturedFrame& frame) {
  YuvFrame converted({static_cast<int>(frame.widthPx()), static_cast<int>(frame.heightPx())});
  converted.convert(frame);
  DecodedFrame decoded;
  decoded.size = converted.size();
  for (int y = 0; y < decoded.size.height; ++y) {
    const std::size_t row = static_cast<std::size_t>(y) * converted.strideBytes();
    decoded.lumas.insert(decoded.lumas.end(), converted.lumas() + row,
                         converted.lumas() + row + decoded.size.width);
    if (y % 2 != 0) continue;
    const std::uint8_t* chromas =
        converted.chromas() + static_cast<std::size_t>(y / 2) * converted.strideBytes();
    for (int x = 0; x < decoded.size.width; x += 2) {
      decoded.blueChromas.push_back(chromas[x]);
      decoded.redChromas.push_back(chromas[x + 1]);
    }
  }
  return decoded;
}

}  // namespace quorvin
