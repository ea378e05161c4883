#pragma once

#import <Foundation/Foundation.h>

// Sent to every object of a nib once all of them have been made and connected.
@interface NSObject (NSNibAwaking)
- (void)awakeFromNib;
@end

NS_ASSUME_NONNULL_BEGIN

// Whatever the data is, the nib is the one that the test has set. Main thread.
@interface NSNib : NSObject
- (instancetype)initWithNibData:(NSData*)nibData bundle:(nullable NSBundle*)bundle;
- (BOOL)instantiateWithOwner:(nullable id)owner
             topLevelObjects:(NSArray* _Nullable* _Nullable)topLevelObjects;
@end

NS_ASSUME_NONNULL_END
