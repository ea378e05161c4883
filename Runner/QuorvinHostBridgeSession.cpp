// The session half of the host bridge: how a session starts, runs and ends.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "Runner/QuorvinHostBridge.h"
#include "platform/Fatal.h"

namespace quorvin {

namespace {

constexpr std::size_t frameBytesMax = 16'777'216;
constexpr std::int64_t streamErrorUserStopped = -3817;

// Since macOS 15 the system tells apart that the user ended sharing from its own controls.
bool stoppedByUser(Platform& platform, const Error& error) {
  return platform.process.isMacOSAtLeast(15, 0) &&
         error.domain == platform.screenCapture.streamErrorDomain() &&
         error.code == streamErrorUserStopped;
}

}  // namespace

std::int64_t nextGeneration(std::int64_t generation) {
  if (generation == std::numeric_limits<std::int64_t>::max()) {
    fatalError("The session counter overflowed.");
  }
  return generation + 1;
}

void QuorvinHostBridge::startCapture(const FlutterResult& result) {
  if (!platform.permissions.preflightScreenCaptureAccess()) {
    return result(FlutterError{
        "screen_recording_required", "Allow Screen Recording in System Settings.", {}});
  }
  if (!platform.permissions.isProcessTrusted()) {
    return result(
        FlutterError{"accessibility_required", "Allow Accessibility in System Settings.", {}});
  }
  beginSupportActivity();
  captureGeneration = nextGeneration(captureGeneration);
  const auto generation = captureGeneration;
  std::shared_ptr<QuorvinScreenCapture> started;
  try {
    started = makeCapture(generation);
  } catch (const Error& error) {
    return startCompleted(generation, nullptr, error, result);
  }
  // A capture that was there before is let go without being stopped: its callbacks carry an older
  // generation, and its own start, if still under way, will find that out and stop it.
  capture = started;
  inputDisplayID.reset();
  // Bridge and capture are held strongly here: the pending call must get its answer. The main
  // thread empties the box, so that neither ends on whichever thread drops the completion last.
  struct PendingStart {
    std::shared_ptr<QuorvinHostBridge> bridge;
    std::shared_ptr<QuorvinScreenCapture> capture;
    FlutterResult result;
  };
  auto pending = std::make_shared<PendingStart>(PendingStart{shared_from_this(), started, result});
  started->start([pending, mainQueue = platform.dispatch.mainQueue(),
                  generation](const std::optional<Error>& error) {
    mainQueue->async([pending, generation, error] {
      const auto start = std::exchange(*pending, {});
      start.bridge->startCompleted(generation, start.capture, error, start.result);
    });
  });
}

std::shared_ptr<QuorvinScreenCapture> QuorvinHostBridge::makeCapture(std::int64_t generation) {
  const auto mainQueue = platform.dispatch.mainQueue();
  auto onStop = [weak = weak_from_this(), mainQueue, generation](const Error& error) {
    mainQueue->async([weak, generation, error] {
      if (auto bridge = weak.lock()) bridge->captureEnded(generation, error);
    });
  };
  auto emitFrame = [weak = weak_from_this(), mainQueue, generation](Data frame) {
    if (frame.size() > frameBytesMax) return;
    mainQueue->async([weak, generation, frame = std::move(frame)] {
      if (auto bridge = weak.lock()) bridge->sendFrame(generation, frame);
    });
  };
  return QuorvinScreenCapture::make(platform, std::move(onStop), std::move(emitFrame));
}

void QuorvinHostBridge::startCompleted(std::int64_t generation,
                                       const std::shared_ptr<QuorvinScreenCapture>& started,
                                       const std::optional<Error>& error,
                                       const FlutterResult& result) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  if (captureGeneration != generation) {
    started->stop();
    return result(FlutterError{"capture_cancelled", "Support was stopped.", {}});
  }
  if (error) {
    clearSession();
    return result(FlutterError{"capture_failed", error->localizedDescription, {}});
  }
  // The system may have ended the capture before it answered the start.
  if (capture != nullptr) inputDisplayID = started->displayID();
  result(Value());
}

void QuorvinHostBridge::captureEnded(std::int64_t generation, const Error& error) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  if (captureGeneration != generation) return;
  clearSession();
  if (!eventSink) return;
  eventSink(FlutterError{
      stoppedByUser(platform, error) ? "capture_user_stopped" : "capture_stopped",
      error.localizedDescription, Map{{"domain", error.domain}, {"code", error.code}}});
}

void QuorvinHostBridge::clearSession() {
  assert(platform.dispatch.mainQueue()->isCurrent());
  remoteInput().releaseAll();
  inputDisplayID.reset();
  capture.reset();
  endSupportActivity();
}

void QuorvinHostBridge::sendFrame(std::int64_t generation, Data frame) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  if (captureGeneration != generation || capture == nullptr || !eventSink) return;
  eventSink(Value(std::move(frame)));
}

void QuorvinHostBridge::stopCapture() {
  assert(platform.dispatch.mainQueue()->isCurrent());
  endSupportActivity();
  captureGeneration = nextGeneration(captureGeneration);
  remoteInput().releaseAll();
  inputDisplayID.reset();
  if (const auto ended = std::exchange(capture, nullptr)) ended->stop();
}

void QuorvinHostBridge::beginSupportActivity() {
  if (supportActivity != nullptr) return;
  supportActivity =
      platform.process.beginActivity(activityUserInitiated | activityLatencyCritical,
                                     "An authorized Quorvin support session is active.");
}

void QuorvinHostBridge::endSupportActivity() {
  if (const auto token = std::exchange(supportActivity, nullptr)) {
    platform.process.endActivity(token);
  }
}

}  // namespace quorvin
