#import <VideoToolbox/VideoToolboxScript.h>

#include <utility>

namespace standin {
namespace {

std::mutex& mutex() {
  static std::mutex guard;
  return guard;
}

// Guarded by the mutex.
VideoToolboxScript& script() {
  static VideoToolboxScript current;
  return current;
}

}  // namespace

VideoToolboxScript videoToolboxScript() {
  const std::lock_guard lock(mutex());
  return script();
}

OSStatus scriptedStatus(const std::string& function) {
  const auto statuses = videoToolboxScript().callStatuses;
  const auto status = statuses.find(function);
  return status == statuses.end() ? noErr : status->second;
}

void resetVideoToolbox() {
  const std::lock_guard lock(mutex());
  script() = {};
}

void setEncoder(Encoder encoder) {
  const std::lock_guard lock(mutex());
  script().encoder = std::move(encoder);
}

void setSessionCreationStatus(OSStatus status) {
  const std::lock_guard lock(mutex());
  script().creationStatus = status;
}

void withholdSessions() {
  const std::lock_guard lock(mutex());
  script().withholdsSessions = true;
}

void setPropertyStatus(const std::string& property, OSStatus status) {
  const std::lock_guard lock(mutex());
  script().propertyStatuses[property] = status;
}

void setCallStatus(const std::string& function, OSStatus status) {
  const std::lock_guard lock(mutex());
  script().callStatuses[function] = status;
}

void holdEncodedFrames() {
  const std::lock_guard lock(mutex());
  script().delivery = Delivery::onRequest;
}

void callBackInsideTheCall() {
  const std::lock_guard lock(mutex());
  script().delivery = Delivery::insideTheCall;
}

}  // namespace standin
