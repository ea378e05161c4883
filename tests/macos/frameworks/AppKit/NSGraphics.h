#pragma once

#import <Foundation/Foundation.h>

typedef NS_ENUM(NSUInteger, NSBackingStoreType) {
  NSBackingStoreRetained = 0,
  NSBackingStoreNonretained = 1,
  NSBackingStoreBuffered = 2,
};
