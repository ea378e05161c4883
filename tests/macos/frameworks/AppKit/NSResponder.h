#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSResponder : NSObject
@end

NS_ASSUME_NONNULL_END
