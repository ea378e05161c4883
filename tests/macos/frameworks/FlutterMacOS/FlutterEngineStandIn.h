#pragma once

#import <FlutterMacOS/FlutterEngine.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Data.h"

namespace standin {

// A message as it goes between the host and the user interface; without bytes where Flutter sends
// nil.
using WireMessage = std::optional<quorvin::Bytes>;
[[nodiscard]] WireMessage toWireMessage(NSData* _Nullable data);
[[nodiscard]] NSData* _Nullable toNSData(const WireMessage& message);

struct SentMessage {
  std::string channel;
  WireMessage message;
};

}  // namespace standin

// The engine as its user interface sees it.
@interface FlutterEngine (StandIn)
@property(nonatomic, readonly, getter=isRunning) BOOL running;
// A message from the user interface. The answer comes at once, later or, if the host forgets it,
// never; after the engine has gone it is lost.
- (void)standInDeliver:(const standin::WireMessage&)message
             onChannel:(const std::string&)channel
                answer:(std::function<void(standin::WireMessage)>)answer;
- (BOOL)standInHasHandlerOnChannel:(const std::string&)channel;
// What the host has sent since the last time, oldest first.
- (std::vector<standin::SentMessage>)standInTakeSentOnChannel:(const std::string&)channel;
@end
