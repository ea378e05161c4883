#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@class SCWindow;

@interface SCDisplay : NSObject
@property(readonly) CGDirectDisplayID displayID;
@property(readonly) NSInteger width;   // points
@property(readonly) NSInteger height;  // points
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
@end

@interface SCShareableContent : NSObject
@property(readonly) NSArray<SCDisplay*>* displays;
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenWindowsOnly
                                 completionHandler:
                                     (void (^)(SCShareableContent* _Nullable shareableContent,
                                               NSError* _Nullable error))completionHandler;
@end

NS_ASSUME_NONNULL_END
