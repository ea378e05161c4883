#pragma once

#import <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frameRect;
@property NSRect frame;
@end

NS_ASSUME_NONNULL_END
