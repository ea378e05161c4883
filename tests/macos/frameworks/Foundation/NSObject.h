#pragma once

#import <Foundation/NSObjCRuntime.h>
#import <objc/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end

typedef struct {
  unsigned long state;
  id __unsafe_unretained _Nullable* _Nullable itemsPtr;
  unsigned long* _Nullable mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

// Hand a reference over between ARC and Core Foundation.
#if __has_feature(objc_arc)
NS_INLINE CF_RETURNS_RETAINED CFTypeRef _Nullable CFBridgingRetain(id _Nullable object) {
  return (__bridge_retained CFTypeRef)object;
}
NS_INLINE id _Nullable CFBridgingRelease(CFTypeRef CF_CONSUMED _Nullable object) {
  return (__bridge_transfer id)object;
}
#endif

NS_ASSUME_NONNULL_END
