#pragma once

#import <AppKit/NSScreenControl.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>
#include <gmock/gmock.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/macos/Dispatch.h"
#include "platform/macos/ScreenCapture.h"
#include "tests/macos/standin/StandInTest.h"

namespace quorvin {

// What a completion was told, once for each time it ran.
class Answers {
 public:
  // The completion keeps the answers, so that it may outlive a test that goes wrong.
  [[nodiscard]] Completion completion() {
    return [state = state](const std::optional<Error>& error) {
      const std::lock_guard lock(state->mutex);
      state->errors.push_back(error);
      state->mainThreads += standin::isMainThread() ? 1 : 0;
    };
  }

  [[nodiscard]] std::vector<std::optional<Error>> given() const {
    const std::lock_guard lock(state->mutex);
    return state->errors;
  }
  [[nodiscard]] int onMainThread() const {
    const std::lock_guard lock(state->mutex);
    return state->mainThreads;
  }
  // Completions that somebody still holds.
  [[nodiscard]] long heldCompletions() const { return state.use_count() - 1; }

 private:
  struct State {
    std::mutex mutex;
    std::vector<std::optional<Error>> errors;
    int mainThreads = 0;
  };
  std::shared_ptr<State> state = std::make_shared<State>();
};

// One delivery as its receiver saw it.
struct ReceivedSample {
  bool isValid = false;
  std::size_t attachments = 0;
  MediaTime time;
  StreamOutputType type = StreamOutputType::screen;
  std::string queue;
};

class RecordingOutput final : public StreamOutput {
 public:
  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override {
    const auto attachments = sample.attachments();
    const std::lock_guard lock(mutex);
    samples.push_back({sample.isValid(), attachments ? attachments->size() : 0,
                       sample.presentationTimeStamp(), type, standin::currentQueueLabel()});
    if (keepsFrames) frames.push_back(sample.imageBuffer());
  }

  [[nodiscard]] std::vector<ReceivedSample> received() const {
    const std::lock_guard lock(mutex);
    return samples;
  }
  void keepFrames() {
    const std::lock_guard lock(mutex);
    keepsFrames = true;
  }
  [[nodiscard]] std::vector<std::shared_ptr<PixelBuffer>> takeFrames() {
    const std::lock_guard lock(mutex);
    return std::exchange(frames, {});
  }

 private:
  mutable std::mutex mutex;
  bool keepsFrames = false;
  std::vector<ReceivedSample> samples;
  std::vector<std::shared_ptr<PixelBuffer>> frames;
};

class RecordingDelegate final : public StreamDelegate {
 public:
  void streamDidStopWithError(const Error& error) override {
    const std::lock_guard lock(mutex);
    errors.push_back(error);
  }

  [[nodiscard]] std::vector<Error> reported() const {
    const std::lock_guard lock(mutex);
    return errors;
  }

 private:
  mutable std::mutex mutex;
  std::vector<Error> errors;
};

// A Mac with two displays, of which the test can make streams.
class CaptureTest : public standin::StandInTest {
 protected:
  static constexpr auto queueLabel = "capture test";
  static constexpr StreamConfiguration configuration{.width = 64,
                                                     .height = 48,
                                                     .minimumFrameInterval = {1, 30},
                                                     .queueDepth = 3,
                                                     .showsCursor = true,
                                                     .pixelFormat = pixelFormat32BGRA};

  void SetUp() override {
    StandInTest::SetUp();
    standin::setShareableContent({.displays = {{7, 1440, 900}, {9, 2560, 1440}}});
  }

  void TearDown() override {
    standin::settle();
    standin::resetScreenCaptureKit();
    standin::resetScreens();
    StandInTest::TearDown();
  }

  struct ContentAnswer {
    std::shared_ptr<const ShareableContent> content;
    std::optional<Error> error;
    bool onMainThread = false;
  };

  // Every answer to one question for the content.
  std::vector<ContentAnswer> askForContent(bool excludingDesktopWindows = true,
                                           bool onScreenWindowsOnly = true) {
    auto answers = std::make_shared<std::vector<ContentAnswer>>();
    capture.getShareableContent(
        excludingDesktopWindows, onScreenWindowsOnly,
        [answers](std::shared_ptr<const ShareableContent> content,
                  const std::optional<Error>& error) {
          answers->push_back({std::move(content), error, standin::isMainThread()});
        });
    standin::settle();
    return *answers;
  }

  std::shared_ptr<ShareableDisplay> firstDisplay() {
    return askForContent().at(0).content->displays.at(0);
  }

  std::shared_ptr<ScreenStream> makeStream(std::weak_ptr<StreamDelegate> delegate = {},
                                           const StreamConfiguration& settings = configuration) {
    return capture.makeStream(ContentFilter{firstDisplay()}, settings, std::move(delegate));
  }

  // A stream that delivers to the output on a queue with the label above.
  std::shared_ptr<ScreenStream> makeRunningStream(const std::shared_ptr<StreamOutput>& output,
                                                  std::weak_ptr<StreamDelegate> delegate = {}) {
    auto stream = makeStream(std::move(delegate));
    EXPECT_EQ(stream->addStreamOutput(output, StreamOutputType::screen, makeQueue()), std::nullopt);
    stream->startCapture({});
    standin::settle();
    return stream;
  }

  static std::shared_ptr<DispatchQueue> makeQueue() {
    return MacDispatch().makeSerialQueue(queueLabel, QualityOfService::userInteractive);
  }

  // The system's side of the newest stream.
  static std::shared_ptr<standin::CaptureStream> newestStream() {
    return standin::captureStreams().back();
  }

  MacScreenCapture capture;
};

// Tries what stops the process in a process of its own, since this one has threads.
class CaptureDeathTest : public CaptureTest {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CaptureTest::SetUp();
  }
};

// A queue that Grand Central Dispatch knows nothing of.
class ForeignQueue final : public DispatchQueue {
 public:
  void async(Task /*task*/) override {}
  [[nodiscard]] bool isCurrent() const override { return false; }
};

}  // namespace quorvin
