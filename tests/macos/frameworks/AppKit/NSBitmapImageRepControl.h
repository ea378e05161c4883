#pragma once

namespace standin {

// Lets the step fail, as it does when memory is short, until the reset.
void failBitmapCreation();  // -[NSBitmapImageRep initWithCGImage:]
void failBitmapEncoding();  // -[NSBitmapImageRep representationUsingType:properties:]

// Where the bytes of the newest representation are; its owner decides for how long.
[[nodiscard]] const void* newestRepresentation();

void resetBitmaps();

}  // namespace standin
