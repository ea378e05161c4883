#pragma once

#import <ScreenCaptureKit/CaptureAnswers.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#include <map>
#include <mutex>

namespace standin {

// What the stand-in knows beside the streams themselves. Any thread.
class CaptureState {
 public:
  CaptureAnswers answers;

  void setContent(ShareableContentScript script);
  [[nodiscard]] ShareableContentScript content() const;

  void failNext(CaptureRequest request, ErrorScript error);
  // The error that the next request of this kind is to fail with, if any; taken out.
  [[nodiscard]] std::optional<ErrorScript> takeFailure(CaptureRequest request);

  void noteWrongState(const char* operation);
  [[nodiscard]] std::vector<std::string> wrongStates() const;

  void addStream(std::shared_ptr<CaptureStream> stream);
  [[nodiscard]] std::vector<std::shared_ptr<CaptureStream>> streams() const;

  void reset();

 private:
  mutable std::mutex mutex;
  ShareableContentScript contentScript;
  std::map<CaptureRequest, std::deque<ErrorScript>> failures;
  std::vector<std::string> refused;
  std::vector<std::shared_ptr<CaptureStream>> known;
};

CaptureState& captureState();

NSError* makeError(const ErrorScript& script);

}  // namespace standin
