#import <FlutterMacOS/FlutterControl.h>

#include <utility>

#include "platform/flutter/StandardCodec.h"
#include "tests/macos/standin/CallLog.h"

namespace standin {
namespace {

quorvin::FlutterReply decodedReply(const WireMessage& message) {
  if (!message || message->empty()) return quorvin::FlutterMethodNotImplemented();
  auto answer = quorvin::decodeEnvelope(*message);
  if (auto* error = std::get_if<quorvin::FlutterError>(&answer)) return std::move(*error);
  return std::get<quorvin::Value>(std::move(answer));
}

DartEvent decodedEvent(const WireMessage& message) {
  auto event = quorvin::decodeEnvelope(message.value());
  if (auto* error = std::get_if<quorvin::FlutterError>(&event)) return std::move(*error);
  return std::get<quorvin::Value>(std::move(event));
}

}  // namespace

std::shared_ptr<const DartReply> DartSide::call(const std::string& channel,
                                                const std::string& method,
                                                const quorvin::Value& arguments) {
  const auto reply = std::make_shared<DartReply>();
  if (engine == nil) {
    violation("The user interface has gone.");
    return reply;
  }
  [engine standInDeliver:quorvin::encodeMethodCall({method, arguments})
               onChannel:channel
                  answer:[reply](const WireMessage& message) {
                    reply->answer = decodedReply(message);
                    reply->hasArrived = true;
                  }];
  return reply;
}

std::shared_ptr<const DartReply> DartSide::listen(const std::string& channel,
                                                  const quorvin::Value& arguments) {
  return call(channel, "listen", arguments);
}

std::shared_ptr<const DartReply> DartSide::cancel(const std::string& channel,
                                                  const quorvin::Value& arguments) {
  return call(channel, "cancel", arguments);
}

std::vector<DartEvent> DartSide::takeEvents(const std::string& channel) {
  std::vector<DartEvent> events;
  if (engine == nil) return events;
  for (const auto& sent : [engine standInTakeSentOnChannel:channel]) {
    events.push_back(decodedEvent(sent.message));
  }
  return events;
}

std::vector<std::string> DartSide::takeTexts(const std::string& channel) {
  std::vector<std::string> texts;
  if (engine == nil) return texts;
  for (const auto& sent : [engine standInTakeSentOnChannel:channel]) {
    texts.emplace_back(sent.message->begin(), sent.message->end());
  }
  return texts;
}

bool DartSide::hasHandler(const std::string& channel) const {
  return [engine standInHasHandlerOnChannel:channel];
}

}  // namespace standin
