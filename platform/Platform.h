#pragma once

#include "platform/Application.h"
#include "platform/Dispatch.h"
#include "platform/Files.h"
#include "platform/Flutter.h"
#include "platform/ImageEncoder.h"
#include "platform/InputEvents.h"
#include "platform/Permissions.h"
#include "platform/Process.h"
#include "platform/PropertyList.h"
#include "platform/ScreenCapture.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"
#include "platform/VideoEncoder.h"

namespace quorvin {

// Everything the program needs from the system it runs on. Made once by the back end that is
// linked in, and handed down through constructors.
struct Platform {
  Application& application;
  Dispatch& dispatch;
  Files& files;
  Flutter& flutter;
  ImageEncoder& imageEncoder;
  InputEvents& inputEvents;
  NotificationCenter& notificationCenter;
  Permissions& permissions;
  Process& process;
  PropertyList& propertyList;
  ScreenCapture& screenCapture;
  Text& text;
  UserDefaults& userDefaults;
  VideoEncoder& videoEncoder;
};

// Defined by the linked back end. Main thread; the same object at every call.
Platform& hostPlatform();

}  // namespace quorvin
