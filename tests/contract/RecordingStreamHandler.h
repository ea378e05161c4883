#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Flutter.h"

namespace quorvin::contract {

// Notes what an event channel asks of it. Main thread.
class RecordingStreamHandler final : public FlutterStreamHandler {
 public:
  std::optional<FlutterError> onListen(const Value& arguments, FlutterEventSink sink) override {
    note("listen", arguments);
    sinks.push_back(std::move(sink));
    if (sendsInListen) sinks.back()(Value("first"));
    return listenError;
  }
  std::optional<FlutterError> onCancel(const Value& arguments) override {
    note("cancel", arguments);
    return cancelError;
  }

  std::vector<std::string> calls;  // "listen", or "listen text" with an argument
  std::vector<FlutterEventSink> sinks;
  std::optional<FlutterError> listenError;
  std::optional<FlutterError> cancelError;
  bool sendsInListen = false;

 private:
  void note(const std::string& call, const Value& arguments) {
    const auto* text = arguments.as<std::string>();
    calls.push_back(arguments.isNull() ? call : call + " " + (text != nullptr ? *text : "?"));
  }
};

}  // namespace quorvin::contract
