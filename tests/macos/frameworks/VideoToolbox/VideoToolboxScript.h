#pragma once

#import <VideoToolbox/VideoToolboxControl.h>

#include <map>
#include <mutex>

namespace standin {

// When a finished frame comes out.
enum class Delivery { onSystemThread, insideTheCall, onRequest };

// What the test has asked for.
struct VideoToolboxScript {
  Encoder encoder;
  OSStatus creationStatus = noErr;
  bool withholdsSessions = false;
  std::map<std::string, OSStatus> propertyStatuses;
  std::map<std::string, OSStatus> callStatuses;
  Delivery delivery = Delivery::onSystemThread;
};

[[nodiscard]] VideoToolboxScript videoToolboxScript();
// What a call of this function ends in: noErr unless the test has asked for a failure.
[[nodiscard]] OSStatus scriptedStatus(const std::string& function);

}  // namespace standin
