#include "webui/PageMessage.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <utility>

#include "webui/JsonValue.h"

namespace quorvin::webui {

namespace {

using nlohmann::json;

// A page may do what a user interface of the host may do, and nothing that a later host adds
// without this program knowing what it means.
constexpr std::array<std::string_view, 9> callableMethods = {
    "capabilities", "permissions",           "requestPermissions", "startCapture", "stopCapture",
    "releaseInput", "createDesktopShortcut", "configureStream",    "injectInput"};

constexpr std::int64_t acknowledgementMax = 1000;

std::optional<std::int64_t> integerOf(const json& number) {
  const auto value = valueFromJson(number);
  const auto* integer = value.as<std::int64_t>();
  return integer != nullptr ? std::optional(*integer) : std::nullopt;
}

bool flagOf(const json& object, const char* key) {
  const auto flag = object.find(key);
  return flag != object.end() && flag->is_boolean() && flag->get<bool>();
}

PageMessage parseCall(const json& object, const json& method) {
  const auto idField = object.find("id");
  const auto id = idField != object.end() ? integerOf(*idField) : std::nullopt;
  if (!id) return PageProtocolError{std::nullopt, "A call needs an integer id."};
  if (!method.is_string()) return PageProtocolError{id, "A method is a string."};
  auto name = method.get<std::string>();
  if (!isCallableMethod(name)) return PageProtocolError{id, "A page may not call this method."};
  const auto arguments = object.find("arguments");
  return PageCall{
      *id, {std::move(name), arguments != object.end() ? valueFromJson(*arguments) : Value()}};
}

PageMessage parseAcknowledgement(const json& count) {
  const auto integer = integerOf(count);
  if (!integer || *integer < 1 || *integer > acknowledgementMax) {
    return PageProtocolError{std::nullopt, "An acknowledgement is a small positive count."};
  }
  return PageAcknowledgement{*integer};
}

PageMessage parseShows(const json& sides) {
  if (!sides.is_object()) return PageProtocolError{std::nullopt, "What a page shows is an object."};
  return PageVisibility{flagOf(sides, "customer"), flagOf(sides, "picture"),
                        flagOf(sides, "input")};
}

json jsonFromError(const FlutterError& error) {
  return {{"code", error.code},
          {"message", error.message ? json(*error.message) : json(nullptr)},
          {"details", jsonFromValue(error.details)}};
}

}  // namespace

bool isCallableMethod(std::string_view method) {
  return std::ranges::find(callableMethods, method) != callableMethods.end();
}

PageMessage parsePageMessage(std::string_view text) {
  const auto document = parseJson(text);
  if (!document || !document->is_object()) {
    return PageProtocolError{std::nullopt, "A message is a JSON object."};
  }
  if (const auto method = document->find("method"); method != document->end()) {
    return parseCall(*document, *method);
  }
  if (const auto count = document->find("ack"); count != document->end()) {
    return parseAcknowledgement(*count);
  }
  if (const auto sides = document->find("show"); sides != document->end()) {
    return parseShows(*sides);
  }
  if (const auto word = document->find("answer"); word != document->end() && word->is_string()) {
    return PageAnswer{word->get<std::string>()};
  }
  if (flagOf(*document, "whole")) return PageWholeFrame{};
  return PageProtocolError{std::nullopt,
                           "A message calls, acknowledges, answers, asks for a whole frame or says "
                           "what is shown."};
}

std::string replyText(std::int64_t id, const FlutterReply& reply) {
  json document = {{"id", id}};
  if (const auto* value = std::get_if<Value>(&reply)) {
    document["result"] = jsonFromValue(*value);
  } else if (const auto* error = std::get_if<FlutterError>(&reply)) {
    document["error"] = jsonFromError(*error);
  } else {
    document["notImplemented"] = true;
  }
  return textOfJson(document);
}

std::string protocolErrorText(const PageProtocolError& problem) {
  const FlutterError error{"bad_message", problem.message, {}};
  return textOfJson(
      {{"id", problem.id ? json(*problem.id) : json(nullptr)}, {"error", jsonFromError(error)}});
}

std::string stateText(const SessionTracker& session, bool input) {
  return textOfJson({{"event", "state"},
                     {"session", nameOf(session.state())},
                     {"error", session.error() ? jsonFromError(*session.error()) : json(nullptr)},
                     {"settings", jsonFromValue(session.settings())},
                     {"input", input}});
}

std::string streamErrorText(const FlutterError& error) {
  auto document = jsonFromError(error);
  document["event"] = "error";
  return textOfJson(document);
}

std::string frameText(std::int64_t ageMs) {
  return textOfJson({{"event", "frame"}, {"ageMs", ageMs}});
}

std::string questionText(const std::string& word) {
  return textOfJson({{"event", "question"}, {"word", word}});
}

}  // namespace quorvin::webui
