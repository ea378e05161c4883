#include "bench/StreamPayloads.h"

#include <stdexcept>
#include <utility>

namespace quorvin {

namespace {

constexpr double compressionFactor = 0.72;
constexpr std::chrono::seconds timeout{10};

std::shared_ptr<ShareableDisplay> firstDisplay(LinuxScreenCapture& capture) {
  std::mutex mutex;
  std::condition_variable answered;
  std::shared_ptr<ShareableDisplay> first;
  capture.getShareableContent(true, true, [&](const auto& content, const auto& /*error*/) {
    const std::scoped_lock lock(mutex);
    first = content->displays.at(0);
    answered.notify_all();
  });
  std::unique_lock lock(mutex);
  answered.wait(lock, [&first] { return first != nullptr; });
  return first;
}

}  // namespace

void StreamPayloads::Output::streamDidOutputSample(const CaptureSample& sample,
                                                   StreamOutputType /*type*/) {
  const auto frame = sample.imageBuffer();
  if (!frame) return;
  auto payload = context->jpegRepresentation(*frame, compressionFactor);
  if (!payload) return;
  const std::scoped_lock lock(mutex);
  newest = std::move(payload);
  times = {Clock::time_point(std::chrono::nanoseconds(sample.presentationTimeStamp().value)),
           Clock::now()};
  changed.notify_all();
}

StreamPayloads::Times StreamPayloads::Output::next() {
  std::unique_lock lock(mutex);
  if (!changed.wait_for(lock, timeout, [this] { return times.has_value(); })) {
    throw std::runtime_error("no payload");
  }
  return *std::exchange(times, std::nullopt);
}

StreamPayloads::StreamPayloads(const std::string& server, PixelSize frame) : capture(server) {
  const StreamConfiguration configuration{frame.width, frame.height, {1, 1000},
                                          3,           false,        pixelFormat32BGRA};
  stream = capture.makeStream({firstDisplay(capture)}, configuration, {});
  if (stream->addStreamOutput(output, StreamOutputType::screen, queue)) {
    throw std::runtime_error("no output");
  }
  stream->startCapture({});
  next();
}

}  // namespace quorvin
