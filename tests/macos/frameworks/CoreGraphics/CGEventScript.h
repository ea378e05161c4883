#pragma once

#import <CoreGraphics/CGEventControl.h>

namespace standin {

// Any thread.

// Whether the test wants this creation to fail.
[[nodiscard]] bool creationFails(EventCreation creation);
void keepPosted(const PostedEvent& event);
void resetEvents();

}  // namespace standin
