#pragma once

#import <VideoToolbox/VideoToolboxControl.h>

#include <map>
#include <mutex>

namespace standin {

// What the test has asked for.
struct VideoToolboxScript {
  Encoder encoder;
  OSStatus creationStatus = noErr;
  bool withholdsSessions = false;
  std::map<std::string, OSStatus> propertyStatuses;
  bool holdsFrames = false;
};

[[nodiscard]] VideoToolboxScript videoToolboxScript();

}  // namespace standin
