#include "webui/PageMessage.h"

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <utility>

namespace quorvin::webui {

using nlohmann::json;

// --- Values as JSON

std::optional<json> parseJson(std::string_view text) {
  bool tooDeep = false;
  const auto watchDepth = [&](int depth, json::parse_event_t event, json& /*parsed*/) {
    const bool opens =
        event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
    if (opens && depth >= jsonDepthMax) tooDeep = true;
    return !tooDeep;
  };
  auto document = json::parse(text, watchDepth, /*allow_exceptions=*/false);
  if (tooDeep || document.is_discarded()) return std::nullopt;
  return document;
}

namespace {

Value valueFromUnsigned(std::uint64_t number) {
  if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return static_cast<double>(number);
  }
  return static_cast<std::int64_t>(number);
}

Value listFromJson(const json& array) {
  List list;
  list.reserve(array.size());
  for (const auto& element : array) list.push_back(valueFromJson(element));
  return list;
}

Value mapFromJson(const json& object) {
  Map map;
  for (const auto& [key, value] : object.items()) map.append(key, valueFromJson(value));
  return map;
}

json jsonFromMap(const Map& map) {
  auto object = json::object();
  for (const auto& entry : map.entries()) {
    const auto* name = entry.key.as<std::string>();
    object[name != nullptr ? *name : textOfJson(jsonFromValue(entry.key))] =
        jsonFromValue(entry.value);
  }
  return object;
}

}  // namespace

Value valueFromJson(const json& json) {
  switch (json.type()) {
    case json::value_t::boolean:
      return json.get<bool>();
    case json::value_t::number_integer:
      return json.get<std::int64_t>();
    case json::value_t::number_unsigned:
      return valueFromUnsigned(json.get<std::uint64_t>());
    case json::value_t::number_float:
      return json.get<double>();
    case json::value_t::string:
      return json.get<std::string>();
    case json::value_t::array:
      return listFromJson(json);
    case json::value_t::object:
      return mapFromJson(json);
    case json::value_t::null:
    case json::value_t::binary:
    case json::value_t::discarded:
      break;
  }
  return {};
}

json jsonFromValue(const Value& value) {
  return std::visit(
      [](const auto& content) -> json {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<Content, Data>) {
          return json(Bytes(content.bytes().begin(), content.bytes().end()));
        } else if constexpr (std::is_same_v<Content, List>) {
          auto array = json::array();
          for (const auto& element : content) array.push_back(jsonFromValue(element));
          return array;
        } else if constexpr (std::is_same_v<Content, Map>) {
          return jsonFromMap(content);
        } else {
          return json(content);
        }
      },
      value.variant());
}

std::string textOfJson(const json& json) {
  return json.dump(-1, ' ', false, json::error_handler_t::replace);
}

// --- Messages

namespace {

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
  return PageVisibility{flagOf(sides, "customer"), flagOf(sides, "picture"), flagOf(sides, "input"),
                        flagOf(sides, "h264")};
}

// Nothing when it is none of theirs.
std::optional<RemoteMessage> remoteMessageOf(const json& object, RemoteId id) {
  const auto value = [&](const char* key) {
    const auto found = object.find(key);
    return found != object.end() ? *found : json();
  };
  using What = RemoteMessage::What;
  const auto answer = value("answer");
  if (answer == "watch") return RemoteMessage{What::answer, id, Invitation::Answer::watch};
  if (answer == "control") return RemoteMessage{What::answer, id, Invitation::Answer::control};
  if (answer == "refuse") return RemoteMessage{What::answer, id, Invitation::Answer::refuse};
  if (const auto signal = value("signal"); isSignal(signal)) {
    return RemoteMessage{.what = What::signal, .remote = id, .text = textOfJson(signal)};
  }
  if (const auto path = value("path"); path == "direct" || path == "relayed") {
    return RemoteMessage{.what = What::path, .remote = id, .text = path};
  }
  if (value("lost") == true) return RemoteMessage{What::lost, id};
  if (const auto control = value("control"); control.is_boolean()) {
    return RemoteMessage{.what = What::control, .remote = id, .is = control};
  }
  if (value("end") == true) return RemoteMessage{What::end, id};
  return std::nullopt;
}

PageMessage parseRemote(const json& object, const json& remote) {
  const auto id = integerOf(remote);
  if (id && *id >= 0 && *id <= std::numeric_limits<RemoteId>::max()) {
    if (auto message = remoteMessageOf(object, static_cast<RemoteId>(*id))) return *message;
  }
  return PageProtocolError{std::nullopt, "This cannot be said of a supporter."};
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
  if (const auto remote = document->find("remote"); remote != document->end()) {
    return parseRemote(*document, *remote);
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
  if (flagOf(*document, "report")) return PageReport{};
  if (const auto allowed = document->find("control");
      allowed != document->end() && allowed->is_boolean()) {
    return PageControl{allowed->get<bool>()};
  }
  if (flagOf(*document, "invite")) return RemoteMessage{RemoteMessage::What::invite};
  if (flagOf(*document, "stopAll")) return RemoteMessage{RemoteMessage::What::stopAll};
  if (flagOf(*document, "log")) return RemoteMessage{RemoteMessage::What::log};
  if (const auto front = document->find("front"); front != document->end() && front->is_boolean()) {
    return RemoteMessage{.what = RemoteMessage::What::front, .is = *front};
  }
  return PageProtocolError{
      std::nullopt,
      "A message calls, acknowledges, answers, asks for a whole frame or a report, says what is "
      "shown or who has control, or is about supporters on other computers."};
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
  const FlutterError error{problem.code, problem.message, {}};
  return textOfJson(
      {{"id", problem.id ? json(*problem.id) : json(nullptr)}, {"error", jsonFromError(error)}});
}

std::string stateText(const SessionTracker& session, bool input, bool control) {
  return textOfJson({{"event", "state"},
                     {"session", nameOf(session.state())},
                     {"error", session.error() ? jsonFromError(*session.error()) : json(nullptr)},
                     {"settings", jsonFromValue(session.settings())},
                     {"input", input},
                     {"control", control}});
}

std::string streamErrorText(const FlutterError& error) {
  auto document = jsonFromError(error);
  document["event"] = "error";
  return textOfJson(document);
}

std::string frameText(std::int64_t ageMs) {
  return textOfJson({{"event", "frame"}, {"ageMs", ageMs}});
}

std::string reducedText(int steps) {
  return textOfJson({{"event", "reduced"},
                     {"why", steps > 0 ? json("network") : json(nullptr)},
                     {"steps", steps}});
}

std::string reportText(const std::string& report) {
  return textOfJson({{"event", "report"}, {"text", report}});
}

std::string questionText(const std::string& word) {
  return textOfJson({{"event", "question"}, {"word", word}});
}

}  // namespace quorvin::webui
