#include "webui/InputHold.h"

#include <string>
#include <utility>

namespace quorvin::webui {

namespace {

bool presses(const Value& event) {
  const auto* fields = event.as<Map>();
  const auto* entry = fields != nullptr ? fields->find("action") : nullptr;
  const auto* action = entry != nullptr ? entry->as<std::string>() : nullptr;
  return action != nullptr && (*action == "mouseDown" || *action == "keyDown");
}

}  // namespace

void InputHold::sent(const FlutterMethodCall& call) {
  if (call.method == "injectInput" && presses(call.arguments)) something = true;
  if (call.method == "releaseInput") something = false;
}

bool InputHold::take() {
  return std::exchange(something, false);
}

}  // namespace quorvin::webui
