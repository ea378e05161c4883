// The remote-input part of the host bridge: who may send input, when, and onto which display.

#include <string>
#include <utility>

#include "Runner/QuorvinHostBridge.h"

namespace quorvin {

namespace {

// The map of an input event, as far as that can be told without knowing the actions.
const Map* inputEventOf(const Value& arguments) {
  const auto* map = arguments.as<Map>();
  if (map == nullptr || !map->hasOnlyStringKeys()) return nullptr;
  const auto* action = map->find("action");
  return action != nullptr && action->as<std::string>() != nullptr ? map : nullptr;
}

}  // namespace

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
