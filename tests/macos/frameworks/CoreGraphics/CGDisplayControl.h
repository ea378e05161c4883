#pragma once

#import <CoreGraphics/CGDirectDisplay.h>

#include <map>

namespace standin {

// A display in the global coordinate space.
struct Display {
  bool isActive = true;
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

// The displays that Core Graphics knows of; none after a reset. Any thread.
void setDisplays(std::map<CGDirectDisplayID, Display> displays);

}  // namespace standin
