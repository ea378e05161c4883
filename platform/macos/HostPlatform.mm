#import "platform/Platform.h"
#import "platform/macos/Application.h"
#import "platform/macos/Dispatch.h"
#import "platform/macos/Files.h"
#import "platform/macos/Flutter.h"
#import "platform/macos/ImageEncoder.h"
#import "platform/macos/InputEvents.h"
#import "platform/macos/Notifications.h"
#import "platform/macos/Permissions.h"
#import "platform/macos/Process.h"
#import "platform/macos/PropertyList.h"
#import "platform/macos/ScreenCapture.h"
#import "platform/macos/Text.h"
#import "platform/macos/UserDefaults.h"
#import "platform/macos/VideoEncoder.h"

namespace quorvin {
namespace {

struct MacPlatform {
  MacApplication application;
  MacDispatch dispatch;
  MacFiles files;
  MacFlutter flutter;
  MacImageEncoder imageEncoder;
  MacInputEvents inputEvents;
  MacNotificationCenter notificationCenter;
  MacPermissions permissions;
  MacProcess process;
  MacPropertyList propertyList;
  MacScreenCapture screenCapture;
  MacText text;
  MacUserDefaults userDefaults;
  MacVideoEncoder videoEncoder;
  Platform all{.application = application,
               .dispatch = dispatch,
               .files = files,
               .flutter = flutter,
               .imageEncoder = imageEncoder,
               .inputEvents = inputEvents,
               .notificationCenter = notificationCenter,
               .permissions = permissions,
               .process = process,
               .propertyList = propertyList,
               .screenCapture = screenCapture,
               .text = text,
               .userDefaults = userDefaults,
               .videoEncoder = videoEncoder};
};

}  // namespace

Platform& hostPlatform() {
  // Never destroyed: what the system still has under way when the process ends may report back to
  // any part of it.
  static auto& host = *new MacPlatform;
  return host.all;
}

}  // namespace quorvin
