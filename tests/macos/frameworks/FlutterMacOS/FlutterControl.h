#pragma once

#import <FlutterMacOS/FlutterEngineStandIn.h>

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/Flutter.h"

namespace standin {

// Whether the embedding's delegate has a method applicationDidFinishLaunching:, which it has not.
void letFlutterAppDelegateFinishLaunching(bool implemented);

// From now on the user interface is asked before the application terminates.
void askBeforeTermination();
// What it answers to one such question.
void answerTermination(bool exits);

struct DartReply {
  bool hasArrived = false;
  quorvin::FlutterReply answer;
};

using DartEvent = std::variant<quorvin::Value, quorvin::FlutterError>;

// The user interface that an engine runs, as a test plays it: speaks the bytes of the channels with
// codecs of its own. Main thread.
class DartSide {
 public:
  explicit DartSide(FlutterEngine* _Nonnull engine) : engine(engine) {}

  // Calls a method of the host; the reply is filled in when it arrives.
  std::shared_ptr<const DartReply> call(const std::string& channel, const std::string& method,
                                        const quorvin::Value& arguments = {});
  std::shared_ptr<const DartReply> listen(const std::string& channel,
                                          const quorvin::Value& arguments = {});
  std::shared_ptr<const DartReply> cancel(const std::string& channel,
                                          const quorvin::Value& arguments = {});
  // What has come since the last time: on an event channel, and on one of plain texts.
  std::vector<DartEvent> takeEvents(const std::string& channel);
  std::vector<std::string> takeTexts(const std::string& channel);

  [[nodiscard]] bool hasHandler(const std::string& channel) const;

 private:
  __weak FlutterEngine* _Nullable engine;
};

}  // namespace standin
