#pragma once

#import <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSView;

typedef NSString* NSNibName NS_TYPED_EXTENSIBLE_ENUM;

@interface NSViewController : NSResponder
- (instancetype)initWithNibName:(nullable NSNibName)nibNameOrNil
                         bundle:(nullable NSBundle*)nibBundleOrNil NS_DESIGNATED_INITIALIZER;
- (instancetype)init;

// Loaded on first use.
@property(strong) NSView* view;
- (void)loadView;
- (void)viewWillAppear;
@end

NS_ASSUME_NONNULL_END
