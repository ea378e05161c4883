#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#import <ScreenCaptureKit/CaptureState.h>

#include <utility>

namespace standin {

ErrorScript streamError(SCStreamErrorCode code, std::string description) {
  return {SCStreamErrorDomain.UTF8String, code, std::move(description)};
}

void setShareableContent(ShareableContentScript content) {
  captureState().setContent(std::move(content));
}

void failNext(CaptureRequest request, ErrorScript error) {
  captureState().failNext(request, std::move(error));
}

void holdAnswers() { captureState().answers.hold(); }

std::size_t heldAnswers() { return captureState().answers.held(); }

void releaseOldestAnswer() { captureState().answers.releaseOldest(); }

void releaseNewestAnswer() { captureState().answers.releaseNewest(); }

void releaseAnswers() { captureState().answers.releaseAll(); }

std::vector<std::string> requestsInWrongState() { return captureState().wrongStates(); }

id attachmentsWithStatus(id status) { return @[ @{SCStreamFrameInfoStatus : status} ]; }

std::vector<std::shared_ptr<CaptureStream>> captureStreams() { return captureState().streams(); }

void resetScreenCaptureKit() { captureState().reset(); }

}  // namespace standin
