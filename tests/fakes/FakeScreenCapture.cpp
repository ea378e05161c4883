#include "tests/fakes/FakeScreenCapture.h"

#include <utility>

namespace quorvin::fakes {

FakeStream::FakeStream(FakeScreenCapture& owner, ContentFilter filter,
                       const StreamConfiguration& configuration,
                       std::weak_ptr<StreamDelegate> delegate)
    : filter(std::move(filter)),
      configuration(configuration),
      owner(owner),
      dispatch(owner.dispatch),
      delegate(std::move(delegate)) {}

FakeStream::~FakeStream() {
  const Error released(fakeStreamErrorDomain, -3808, "The stream was released.");
  completeStart(released);
  while (!updateCompletions.empty()) completeUpdate(released);
}

std::optional<Error> FakeStream::addStreamOutput(std::weak_ptr<StreamOutput> newOutput,
                                                 StreamOutputType type,
                                                 std::shared_ptr<DispatchQueue> queue) {
  if (startCalls > 0) owner.violations.emplace_back("output added to a started stream");
  if (type != StreamOutputType::screen) owner.violations.emplace_back("output of another type");
  if (newOutput.expired()) owner.violations.emplace_back("output is gone already");
  if (owner.addOutputError) return owner.addOutputError;
  output = std::move(newOutput);
  outputQueue = std::move(queue);
  return std::nullopt;
}

void FakeStream::startCapture(Completion completion) {
  if (++startCalls > 1) owner.violations.emplace_back("stream started twice");
  if (outputQueue == nullptr) owner.violations.emplace_back("stream started without an output");
  startCompletion = std::move(completion);
  startPending = true;
  if (owner.completesStarts) completeStart(owner.startError);
}

void FakeStream::stopCapture(Completion completion) {
  if (startCalls == 0) owner.violations.emplace_back("stream stopped before it was started");
  if (++stopCalls > 1) owner.violations.emplace_back("stream stopped twice");
  if (completion) dispatch.systemThreads().async([completion] { completion(std::nullopt); });
}

void FakeStream::updateConfiguration(const StreamConfiguration& newConfiguration,
                                     Completion completion) {
  if (stopCalls > 0) owner.violations.emplace_back("stopped stream reconfigured");
  updates.push_back(newConfiguration);
  updateCompletions.push_back(std::move(completion));
  if (owner.completesUpdates) completeUpdate(owner.updateError);
}

void FakeStream::completeStart(std::optional<Error> error) {
  if (!std::exchange(startPending, false)) return;
  answeredStart = std::exchange(startCompletion, {});
  dispatch.systemThreads().async([completion = answeredStart, error] { completion(error); });
}

void FakeStream::completeUpdate(std::optional<Error> error) {
  if (updateCompletions.empty()) return;
  if (!error) configuration = updates[updates.size() - updateCompletions.size()];
  dispatch.systemThreads().async(
      [completion = std::move(updateCompletions.front()), error] { completion(error); });
  updateCompletions.pop_front();
}

void FakeStream::stopWithError(const Error& error) {
  dispatch.systemThreads().async([delegate = delegate, error] {
    if (auto receiver = delegate.lock()) receiver->streamDidStopWithError(error);
  });
}

void FakeStream::send(const std::shared_ptr<const CaptureSample>& sample, StreamOutputType type) {
  outputQueue->async([output = output, sample, type] {
    if (auto receiver = output.lock()) receiver->streamDidOutputSample(*sample, type);
  });
}

void FakeScreenCapture::setDisplays(std::vector<std::shared_ptr<ShareableDisplay>> displays) {
  content = std::make_shared<ShareableContent>(ShareableContent{std::move(displays)});
}

void FakeScreenCapture::answer(ShareableContentHandler handler) {
  dispatch.systemThreads().async(
      [handler = std::move(handler), content = content, error = contentError] {
        handler(error ? nullptr : content, error);
      });
}

void FakeScreenCapture::answerContentRequest() {
  if (heldRequests.empty()) return;
  answer(std::move(heldRequests.front()));
  heldRequests.pop_front();
}

std::shared_ptr<FakeStream> FakeScreenCapture::newestStream() const {
  return streams.empty() ? nullptr : streams.back().lock();
}

void FakeScreenCapture::getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                            ShareableContentHandler handler) {
  contentRequests.push_back({excludingDesktopWindows, onScreenWindowsOnly});
  if (answersContent) return answer(std::move(handler));
  heldRequests.push_back(std::move(handler));
}

std::shared_ptr<ScreenStream> FakeScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::weak_ptr<StreamDelegate> delegate) {
  auto stream = std::make_shared<FakeStream>(*this, filter, configuration, std::move(delegate));
  streams.emplace_back(stream);
  return stream;
}

}  // namespace quorvin::fakes
