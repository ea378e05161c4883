#pragma once

#import <Foundation/Foundation.h>

namespace standin {

// The main screen as its device description tells of it; nil: there is none, which is also how it
// is after a reset. Main thread.
void setMainScreen(NSDictionary<NSString*, id>* deviceDescription);
void resetScreens();

}  // namespace standin
