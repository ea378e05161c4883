#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ScreenCapture.h"
#include "tests/fakes/SimulatedDispatch.h"

namespace quorvin::fakes {

inline constexpr auto fakeStreamErrorDomain = "fake.stream.error";

class FakePixelBuffer final : public PixelBuffer {
 public:
  FakePixelBuffer(std::size_t width, std::size_t height, std::uint32_t content)
      : content(content), width(width), height(height) {}
  [[nodiscard]] std::size_t widthPx() const override { return width; }
  [[nodiscard]] std::size_t heightPx() const override { return height; }

  std::uint32_t content;  // tells frames apart; the fake encoder writes it into the file

 private:
  std::size_t width;
  std::size_t height;
};

class FakeSample final : public CaptureSample {
 public:
  bool valid = true;
  std::optional<std::vector<SampleAttachments>> attachmentList;
  std::shared_ptr<PixelBuffer> image;
  MediaTime presentationTime;

  static std::shared_ptr<FakeSample> complete(std::uint32_t content, std::size_t width = 1440,
                                              std::size_t height = 900) {
    auto sample = std::make_shared<FakeSample>();
    sample->attachmentList = {SampleAttachments{frameStatusComplete}};
    sample->image = std::make_shared<FakePixelBuffer>(width, height, content);
    return sample;
  }
  static std::shared_ptr<FakeSample> withStatus(std::optional<std::int64_t> status) {
    auto sample = std::make_shared<FakeSample>();
    sample->attachmentList = {SampleAttachments{status}};
    return sample;
  }

  [[nodiscard]] bool isValid() const override { return valid; }
  [[nodiscard]] std::optional<std::vector<SampleAttachments>> attachments() const override {
    return attachmentList;
  }
  [[nodiscard]] std::shared_ptr<PixelBuffer> imageBuffer() const override { return image; }
  [[nodiscard]] MediaTime presentationTimeStamp() const override { return presentationTime; }
};

class FakeDisplay final : public ShareableDisplay {
 public:
  FakeDisplay(DisplayID id, std::int64_t width, std::int64_t height)
      : id(id), width(width), height(height) {}
  [[nodiscard]] DisplayID displayID() const override { return id; }
  [[nodiscard]] std::int64_t widthPt() const override { return width; }
  [[nodiscard]] std::int64_t heightPt() const override { return height; }

 private:
  DisplayID id;
  std::int64_t width;
  std::int64_t height;
};

class FakeScreenCapture;

// A stream whose every answer and sample the test decides. Strict: a caller that breaks the
// contract is written down in the machine's violations.
class FakeStream final : public ScreenStream {
 public:
  FakeStream(FakeScreenCapture& owner, ContentFilter filter,
             const StreamConfiguration& configuration, std::weak_ptr<StreamDelegate> delegate);
  // What is still unanswered is answered with an error: a completion always runs.
  ~FakeStream() override;

  std::optional<Error> addStreamOutput(std::weak_ptr<StreamOutput> newOutput, StreamOutputType type,
                                       std::shared_ptr<DispatchQueue> queue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;
  void updateConfiguration(const StreamConfiguration& newConfiguration,
                           Completion completion) override;

  // What the system does, each on one of its threads.
  void completeStart(std::optional<Error> error = std::nullopt);
  void completeUpdate(std::optional<Error> error = std::nullopt);
  void stopWithError(const Error& error);
  // Queues a sample for the output on its queue, even after a stop: the last ones may be late.
  void send(const std::shared_ptr<const CaptureSample>& sample,
            StreamOutputType type = StreamOutputType::screen);

  ContentFilter filter;
  StreamConfiguration configuration;
  std::vector<StreamConfiguration> updates;
  std::shared_ptr<DispatchQueue> outputQueue;
  int startCalls = 0;
  int stopCalls = 0;
  bool startPending = false;
  Completion answeredStart;  // a system may drop a completion long after it ran

 private:
  FakeScreenCapture& owner;
  SimulatedDispatch& dispatch;
  std::weak_ptr<StreamDelegate> delegate;
  std::weak_ptr<StreamOutput> output;
  Completion startCompletion;
  std::deque<Completion> updateCompletions;
};

class FakeScreenCapture final : public ScreenCapture {
 public:
  explicit FakeScreenCapture(SimulatedDispatch& dispatch) : dispatch(dispatch) {}

  std::optional<DisplayID> mainScreen = 1;
  std::shared_ptr<ShareableContent> content;  // null: the answer carries none
  std::optional<Error> contentError;
  std::optional<Error> addOutputError;
  // Whether requests are answered by themselves, on a system thread, or when the test says so.
  bool answersContent = true;
  bool completesStarts = true;
  std::optional<Error> startError;
  bool completesUpdates = true;
  std::optional<Error> updateError;

  struct ContentRequest {
    bool excludingDesktopWindows;
    bool onScreenWindowsOnly;
  };
  std::vector<ContentRequest> contentRequests;
  std::vector<std::weak_ptr<FakeStream>> streams;  // all that were made, oldest first
  std::vector<std::string> violations;

  void setDisplays(std::vector<std::shared_ptr<ShareableDisplay>> displays);
  // Answers the oldest held request with the content or error as they are now.
  void answerContentRequest();
  void dropHeldRequests() { heldRequests.clear(); }
  [[nodiscard]] std::shared_ptr<FakeStream> newestStream() const;

  std::optional<DisplayID> mainScreenNumber() override { return mainScreen; }
  void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                           ShareableContentHandler handler) override;
  std::string streamErrorDomain() override { return fakeStreamErrorDomain; }
  std::shared_ptr<ScreenStream> makeStream(const ContentFilter& filter,
                                           const StreamConfiguration& configuration,
                                           std::weak_ptr<StreamDelegate> delegate) override;

  SimulatedDispatch& dispatch;

 private:
  std::deque<ShareableContentHandler> heldRequests;
  void answer(ShareableContentHandler handler);
};

}  // namespace quorvin::fakes
