#import <ScreenCaptureKit/CaptureState.h>

#include <utility>

namespace standin {

CaptureState& captureState() {
  static CaptureState state;
  return state;
}

NSError* makeError(const ErrorScript& script) {
  return [NSError errorWithDomain:@(script.domain.c_str())
                             code:script.code
                         userInfo:@{
                           NSLocalizedDescriptionKey : @(script.description.c_str())
                         }];
}

void CaptureState::setContent(ShareableContentScript script) {
  const std::lock_guard lock(mutex);
  contentScript = std::move(script);
}

ShareableContentScript CaptureState::content() const {
  const std::lock_guard lock(mutex);
  return contentScript;
}

void CaptureState::failNext(CaptureRequest request, ErrorScript error) {
  const std::lock_guard lock(mutex);
  failures[request].push_back(std::move(error));
}

std::optional<ErrorScript> CaptureState::takeFailure(CaptureRequest request) {
  const std::lock_guard lock(mutex);
  auto& queued = failures[request];
  if (queued.empty()) return {};
  ErrorScript error = std::move(queued.front());
  queued.pop_front();
  return error;
}

void CaptureState::noteWrongState(const char* operation) {
  const std::lock_guard lock(mutex);
  refused.emplace_back(operation);
}

std::vector<std::string> CaptureState::wrongStates() const {
  const std::lock_guard lock(mutex);
  return refused;
}

void CaptureState::addStream(std::shared_ptr<CaptureStream> stream) {
  const std::lock_guard lock(mutex);
  known.push_back(std::move(stream));
}

std::vector<std::shared_ptr<CaptureStream>> CaptureState::streams() const {
  const std::lock_guard lock(mutex);
  return known;
}

void CaptureState::reset() {
  answers.drop();
  const std::lock_guard lock(mutex);
  contentScript = {};
  failures.clear();
  refused.clear();
  known.clear();
}

}  // namespace standin
