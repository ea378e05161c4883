#pragma once

#import <Foundation/Foundation.h>

typedef NS_ENUM(NSUInteger, NSBackingStoreType) { NSBackingStoreBuffered = 2 };
