#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>

@property(readonly) NSUInteger count;
- (instancetype)initWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                          count:(NSUInteger)count;

@end

@interface NSArray <ObjectType>(NSExtendedArray)

@property(nullable, nonatomic, readonly) ObjectType firstObject;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)index;

@end

@interface NSArray <ObjectType>(NSArrayCreation)

+ (instancetype)array;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nonnull])objects
                           count:(NSUInteger)count;

@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>

- (void)addObject:(ObjectType)anObject;

@end

@interface NSMutableArray <ObjectType>(NSMutableArrayCreation)

+ (instancetype)arrayWithCapacity:(NSUInteger)capacity;

@end

NS_ASSUME_NONNULL_END
