#include "tests/linux/capture/SampleRecorder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/linux/frame/CapturedFrame.h"

namespace quorvin {

namespace {

void copyFrame(const CapturedFrame& frame, RecordedSample& sample) {
  sample.size = {static_cast<int>(frame.widthPx()), static_cast<int>(frame.heightPx())};
  sample.pixels.resize(frame.widthPx() * frame.heightPx());
  for (std::size_t row = 0; row < frame.heightPx(); ++row) {
    std::memcpy(&sample.pixels[row * frame.widthPx()], frame.data() + row * frame.strideBytes(),
                frame.widthPx() * 4);
  }
}

}  // namespace

std::uint32_t RecordedSample::colourAt(int x, int y) const {
  return pixels.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                   static_cast<std::size_t>(x)) &
         0xffffff;
}

bool RecordedSample::isAbout(int x, int y, std::uint32_t colour) const {
  const std::uint32_t actual = colourAt(x, y);
  for (const unsigned shift : {0U, 8U, 16U}) {
    const int difference =
        static_cast<int>(actual >> shift & 0xff) - static_cast<int>(colour >> shift & 0xff);
    if (std::abs(difference) > 2) return false;
  }
  return true;
}

void SampleRecorder::streamDidOutputSample(const CaptureSample& sample, StreamOutputType /*type*/) {
  RecordedSample record;
  record.status = sample.attachments().value().front().frameStatus.value();
  record.time = std::chrono::nanoseconds(sample.presentationTimeStamp().value);
  const auto buffer = sample.imageBuffer();
  if (const auto* frame = dynamic_cast<CapturedFrame*>(buffer.get())) {
    copyFrame(*frame, record);
  }
  std::function<void()> next;
  {
    const std::scoped_lock lock(mutex);
    recorded.push_back(std::move(record));
    if (holding && buffer) held.push_back(buffer);
    next = action;
    changed.notify_all();
  }
  if (next) next();
}

void SampleRecorder::onSample(std::function<void()> newAction) {
  const std::scoped_lock lock(mutex);
  action = std::move(newAction);
}

void SampleRecorder::holdFrames() {
  const std::scoped_lock lock(mutex);
  holding = true;
}

void SampleRecorder::letFramesGo() {
  const std::scoped_lock lock(mutex);
  holding = false;
  held.clear();
}

bool SampleRecorder::waitFor(const Condition& condition) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, testTimeout, [&] { return condition(recorded); });
}

bool SampleRecorder::waitForSamples(std::size_t count) {
  return waitFor([count](const auto& samples) { return samples.size() >= count; });
}

bool SampleRecorder::waitForFrames(std::size_t count) {
  return waitFor([count](const auto& samples) {
    return static_cast<std::size_t>(std::ranges::count_if(samples, &RecordedSample::isComplete)) >=
           count;
  });
}

bool SampleRecorder::waitForIdleSample() {
  return waitFor([](const auto& samples) {
    return !samples.empty() && samples.back().status == frameStatusIdle;
  });
}

bool SampleRecorder::waitForFrame(const std::function<bool(const RecordedSample&)>& condition) {
  return waitFor([&](const auto& samples) {
    const auto newest =
        std::ranges::find_if(samples.rbegin(), samples.rend(), &RecordedSample::isComplete);
    return newest != samples.rend() && condition(*newest);
  });
}

bool SampleRecorder::waitForColour(int x, int y, std::uint32_t colour) {
  return waitForFrame([=](const auto& newest) { return newest.isAbout(x, y, colour); });
}

std::vector<RecordedSample> SampleRecorder::samples() {
  const std::scoped_lock lock(mutex);
  return recorded;
}

std::vector<RecordedSample> SampleRecorder::frames() {
  std::vector<RecordedSample> complete;
  std::ranges::copy_if(samples(), std::back_inserter(complete), &RecordedSample::isComplete);
  return complete;
}

void StopRecorder::streamDidStopWithError(const Error& error) {
  const std::scoped_lock lock(mutex);
  recorded.push_back(error);
  changed.notify_all();
}

bool StopRecorder::waitForStop() {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, testTimeout, [this] { return !recorded.empty(); });
}

std::vector<Error> StopRecorder::errors() {
  const std::scoped_lock lock(mutex);
  return recorded;
}

Completion Answer::completion() {
  return [state = state](const std::optional<Error>& error) {
    const std::scoped_lock lock(state->mutex);
    ++state->count;
    state->error = error;
    state->changed.notify_all();
  };
}

bool Answer::wait() {
  std::unique_lock lock(state->mutex);
  return state->changed.wait_for(lock, testTimeout, [this] { return state->count > 0; });
}

int Answer::count() {
  const std::scoped_lock lock(state->mutex);
  return state->count;
}

std::optional<Error> Answer::error() {
  const std::scoped_lock lock(state->mutex);
  return state->error;
}

}  // namespace quorvin
