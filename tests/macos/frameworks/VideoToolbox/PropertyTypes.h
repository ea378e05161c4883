#pragma once

#import <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>

namespace standin {

// The type that a session's property, or an entry of an encoder specification, must have; nothing
// for one that is unknown.
[[nodiscard]] std::optional<CFTypeID> typeOfProperty(const std::string& key);
// "true", "30 (SInt32)", "H264_Main_AutoLevel", "default" for NULL.
[[nodiscard]] std::string describeProperty(CFTypeRef _Nullable value);

}  // namespace standin
