#include "Runner/QuorvinHostBridge.h"

#include <cassert>
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

}  // namespace quorvin
