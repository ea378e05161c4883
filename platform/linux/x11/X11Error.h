#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "platform/Error.h"

namespace quorvin {

inline constexpr std::string_view x11ErrorDomain = "com.quorvin.support.x11";

enum class X11ErrorCode : std::int64_t {
  noServer = 1,           // no X display can be opened
  serverLost = 2,         // the connection to the X server broke
  displayGone = 3,        // the captured display is no longer there
  unreadableScreen = 4,   // the server does not hand out the pixels
  unsupportedScreen = 5,  // the screen's pixels are of a kind that is not understood
  invalidParameter = 6,   // an argument makes no sense or is not supported
  alreadyStarted = 7,
  notStarted = 8,
  noResources = 9,  // the system has no memory, thread or descriptor left
  noAnswer = 10,    // the X server says nothing, as while another program has grabbed it
};

[[nodiscard]] inline Error x11Error(X11ErrorCode code, std::string sentence) {
  return Error{std::string(x11ErrorDomain), static_cast<std::int64_t>(code), std::move(sentence)};
}

[[nodiscard]] inline Error outOfResources(const std::exception& cause) {
  return x11Error(
      X11ErrorCode::noResources,
      std::string("The system has too little left to capture the screen: ") + cause.what());
}

}  // namespace quorvin
