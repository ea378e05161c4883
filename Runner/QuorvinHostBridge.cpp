#include "Runner/QuorvinHostBridge.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "Runner/DesktopShortcut.h"
#include "Runner/UnattendedAccess.h"
#include "Runner/Whitespace.h"
#include "platform/Fatal.h"

namespace quorvin {

namespace {

constexpr auto methodChannelName = "com.quorvin.support/host";
constexpr auto frameChannelName = "com.quorvin.support/frames";

constexpr std::size_t frameBytesMax = 16'777'216;
constexpr std::int64_t streamErrorUserStopped = -3817;

FlutterError consentRequired() {
  return {"consent_required", "Local customer authorization is required.", {}};
}

FlutterError badStreamSettings() {
  return {"bad_stream_settings", "Invalid picture settings.", {}};
}

bool isTrue(const Map& map, std::string_view key) {
  const auto* value = map.find(key);
  const auto* flag = value == nullptr ? nullptr : value->as<bool>();
  return flag != nullptr && *flag;
}

std::string computerName(Permissions& permissions) {
  const auto name = permissions.copyComputerName().value_or(std::string());
  const auto trimmed = trimmedWhitespace(name);
  return trimmed.empty() ? std::string("Mac") : std::string(trimmed);
}

// Since macOS 15 the system tells apart that the user ended sharing from its own controls.
bool stoppedByUser(Platform& platform, const Error& error) {
  return platform.process.isMacOSAtLeast(15, 0) &&
         error.domain == platform.screenCapture.streamErrorDomain() &&
         error.code == streamErrorUserStopped;
}

// The map of an input event, as far as that can be told without knowing the actions.
const Map* inputEventOf(const Value& arguments) {
  const auto* map = arguments.as<Map>();
  if (map == nullptr || !map->hasOnlyStringKeys()) return nullptr;
  const auto* action = map->find("action");
  return action != nullptr && action->as<std::string>() != nullptr ? map : nullptr;
}

}  // namespace

std::shared_ptr<QuorvinHostBridge> QuorvinHostBridge::make(
    Platform& platform, const std::shared_ptr<FlutterBinaryMessenger>& messenger) {
  auto bridge = std::make_shared<QuorvinHostBridge>(platform, messenger);
  // Held strongly: as long as the user interface can call, there must be a host to answer.
  bridge->methodChannel->setMethodCallHandler(
      [bridge](const FlutterMethodCall& call, FlutterResult result) {
        bridge->handle(call, std::move(result));
      });
  bridge->frameChannel->setStreamHandler(bridge);
  return bridge;
}

QuorvinHostBridge::QuorvinHostBridge()
    : platform(unimplementedInitializer("Quorvin_Support.QuorvinHostBridge")) {}

QuorvinHostBridge::QuorvinHostBridge(Platform& platform,
                                     const std::shared_ptr<FlutterBinaryMessenger>& messenger)
    : platform(platform),
      methodChannel(platform.flutter.makeMethodChannel(methodChannelName, messenger)),
      frameChannel(platform.flutter.makeEventChannel(frameChannelName, messenger)) {}

QuorvinHostBridge::~QuorvinHostBridge() {
  methodChannel->setMethodCallHandler({});
  frameChannel->setStreamHandler(nullptr);
  stopCapture();
}

void QuorvinHostBridge::handle(const FlutterMethodCall& call, FlutterResult result) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  const auto& method = call.method;
  if (method == "capabilities") {
    replyWithCapabilities(std::move(result));
  } else if (method == "permissions") {
    result(readPermissions());
  } else if (method == "requestPermissions") {
    requestPermissions();
    result(readPermissions());
  } else if (method == "startCapture") {
    authorizeStart(call.arguments, result);
  } else if (method == "stopCapture") {
    stopCapture();
    result(Value());
  } else if (method == "injectInput") {
    injectInput(call.arguments, result);
  } else if (method == "releaseInput") {
    remoteInput().releaseAll();  // letting go is always allowed
    result(Value());
  } else if (method == "createDesktopShortcut") {
    result(createDesktopShortcut(platform.files));
  } else if (method == "configureStream") {
    configureStream(call.arguments, std::move(result));
  } else {
    result(FlutterMethodNotImplemented());
  }
}

void QuorvinHostBridge::replyWithCapabilities(FlutterResult result) {
  // Looking up the name may take the system a while, so the main thread does not wait for it.
  platform.dispatch.globalQueue(QualityOfService::userInitiated)
      ->async([&platform = platform, result = std::move(result)] {
        platform.dispatch.mainQueue()->async(
            [&platform, result, deviceName = computerName(platform.permissions)] {
              result(Value(Map{{"platform", "macos"},
                               {"deviceName", deviceName},
                               {"screenShare", true},
                               {"remoteControl", true},
                               {"videoH264", true},
                               {"unattended", UnattendedAccess::authorizedRun(platform)},
                               {"unattendedName", UnattendedAccess::deviceName(platform)}}));
            });
      });
}

Value QuorvinHostBridge::readPermissions() {
  const bool screenRecording = platform.permissions.preflightScreenCaptureAccess();
  const bool accessibility = platform.permissions.isProcessTrusted();
  return Map{{"screenRecording", screenRecording}, {"accessibility", accessibility}};
}

void QuorvinHostBridge::requestPermissions() {
  platform.permissions.requestScreenCaptureAccess();
  platform.permissions.isProcessTrustedWithOptions(/*prompt=*/true);
}

void QuorvinHostBridge::authorizeStart(const Value& arguments, const FlutterResult& result) {
  const auto* map = arguments.as<Map>();
  if (map == nullptr || !map->hasOnlyStringKeys()) return result(consentRequired());
  const bool authorized = isTrue(*map, "locallyAuthorized") ||
                          (isTrue(*map, "unattended") && UnattendedAccess::authorizedRun(platform));
  if (!authorized) return result(consentRequired());
  startCapture(result);
}

void QuorvinHostBridge::configureStream(const Value& arguments, FlutterResult result) {
  const auto settings = capture == nullptr ? std::nullopt : parsePictureSettings(arguments);
  if (!settings) return result(badStreamSettings());
  capture->configure(*settings, [mainQueue = platform.dispatch.mainQueue(),
                                 result = std::move(result)](const std::optional<Error>& error) {
    mainQueue->async([result, error] {
      if (error) {
        result(FlutterError{"stream_settings_failed", error->localizedDescription, {}});
      } else {
        result(Value());
      }
    });
  });
}

std::optional<FlutterError> QuorvinHostBridge::onListen(const Value& /*arguments*/,
                                                        FlutterEventSink sink) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  eventSink = std::move(sink);
  return std::nullopt;
}

std::optional<FlutterError> QuorvinHostBridge::onCancel(const Value& /*arguments*/) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  eventSink = {};
  return std::nullopt;
}

// --- The session

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

// --- Remote input

void QuorvinHostBridge::injectInput(const Value& arguments, const FlutterResult& result) {
  if (capture == nullptr || !platform.permissions.isProcessTrusted()) {
    return result(FlutterError{
        "input_not_authorized", "Remote input is allowed only during an authorized session.", {}});
  }
  const auto* event = inputEventOf(arguments);
  if (event == nullptr) return result(FlutterError{"bad_input", "Invalid input event.", {}});
  try {
    remoteInput().apply(*event);
  } catch (const Error& error) {
    return result(FlutterError{"bad_input", error.localizedDescription, {}});
  }
  result(Value());
}

RemoteInputController& QuorvinHostBridge::remoteInput() {
  if (remoteInputController == nullptr) {
    auto bounds = [weak = weak_from_this()]() -> std::optional<Rect> {
      const auto bridge = weak.lock();
      return bridge != nullptr ? bridge->inputBounds() : std::nullopt;
    };
    remoteInputController =
        std::make_unique<RemoteInputController>(platform.inputEvents, std::move(bounds));
  }
  return *remoteInputController;
}

std::optional<Rect> QuorvinHostBridge::inputBounds() {
  if (!inputDisplayID || !platform.inputEvents.displayIsActive(*inputDisplayID)) {
    return std::nullopt;
  }
  return platform.inputEvents.displayBounds(*inputDisplayID);
}

}  // namespace quorvin
