#import <SystemConfiguration/SystemConfiguration.h>

#import <Foundation/Foundation.h>

#include <mutex>
#include <utility>

#import "SystemConfiguration/SystemConfigurationControl.h"
#include "tests/macos/standin/CallLog.h"

namespace {

constexpr auto initialName = "Front desk";

std::mutex mutex;  // guards `computerName`
std::optional<std::string> computerName = initialName;

}  // namespace

CFStringRef SCDynamicStoreCopyComputerName(SCDynamicStoreRef store,
                                           CFStringEncoding* nameEncoding) {
  standin::record(
      "SCDynamicStoreCopyComputerName",
      {store == nullptr ? "NULL" : "store", nameEncoding == nullptr ? "NULL" : "encoding"});
  const std::lock_guard lock(mutex);
  if (!computerName) return nullptr;
  // A text of its own for every caller, so that one that is not released counts as leaked.
  return (CFStringRef)CFBridgingRetain([NSString stringWithUTF8String:computerName->c_str()]);
}

namespace standin {

void resetSystemConfiguration() { setComputerName(initialName); }

void setComputerName(std::optional<std::string> name) {
  const std::lock_guard lock(mutex);
  computerName = std::move(name);
}

}  // namespace standin
