#pragma once

#import <Foundation/Foundation.h>

// Sent to every object of a nib once all of them have been made and connected.
@interface NSObject (NSNibAwaking)
- (void)awakeFromNib;
@end
