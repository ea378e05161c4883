#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* NSDeviceDescriptionKey NS_TYPED_EXTENSIBLE_ENUM;

// Main thread.
@interface NSScreen : NSObject
// The screen of the window that has the keyboard.
@property(class, readonly, nullable, strong) NSScreen* mainScreen;
@property(readonly, copy) NSDictionary<NSDeviceDescriptionKey, id>* deviceDescription;
@end

NS_ASSUME_NONNULL_END
