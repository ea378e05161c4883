#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSArray<__covariant ObjectType>
    : NSObject <NSCopying, NSMutableCopying, NSSecureCoding, NSFastEnumeration>

@property(readonly) NSUInteger count;
- (ObjectType)objectAtIndex:(NSUInteger)index;
- (instancetype)init NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                          count:(NSUInteger)count NS_DESIGNATED_INITIALIZER;

@end

@interface NSArray <ObjectType>(NSExtendedArray)

- (NSArray<ObjectType>*)arrayByAddingObject:(ObjectType)anObject;
- (BOOL)containsObject:(ObjectType)anObject;
- (NSUInteger)indexOfObject:(ObjectType)anObject;
- (BOOL)isEqualToArray:(NSArray<ObjectType>*)otherArray;
@property(nullable, nonatomic, readonly) ObjectType firstObject;
@property(nullable, nonatomic, readonly) ObjectType lastObject;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)index;
- (void)enumerateObjectsUsingBlock:(void(NS_NOESCAPE ^)(ObjectType object, NSUInteger index,
                                                        BOOL* stop))block;

@end

@interface NSArray <ObjectType>(NSArrayCreation)

+ (instancetype)array;
+ (instancetype)arrayWithObject:(ObjectType)anObject;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nonnull])objects
                           count:(NSUInteger)count;
+ (instancetype)arrayWithObjects:(ObjectType)firstObject, ... NS_REQUIRES_NIL_TERMINATION;
+ (instancetype)arrayWithArray:(NSArray<ObjectType>*)array;

@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>

- (void)addObject:(ObjectType)anObject;
- (void)insertObject:(ObjectType)anObject atIndex:(NSUInteger)index;
- (void)removeLastObject;
- (void)removeObjectAtIndex:(NSUInteger)index;
- (void)replaceObjectAtIndex:(NSUInteger)index withObject:(ObjectType)anObject;

@end

@interface NSMutableArray <ObjectType>(NSExtendedMutableArray)

- (void)removeAllObjects;
- (void)removeObject:(ObjectType)anObject;
- (void)setObject:(ObjectType)object atIndexedSubscript:(NSUInteger)index;

@end

@interface NSMutableArray <ObjectType>(NSMutableArrayCreation)

+ (instancetype)arrayWithCapacity:(NSUInteger)capacity;

@end

NS_ASSUME_NONNULL_END
