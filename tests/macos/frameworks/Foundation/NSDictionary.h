#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>;

@interface NSDictionary<__covariant KeyType, __covariant ObjectType>
    : NSObject <NSCopying, NSFastEnumeration>

@property(readonly) NSUInteger count;
- (nullable ObjectType)objectForKey:(KeyType)aKey;
- (instancetype)initWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                        forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                          count:(NSUInteger)count;

@end

@interface NSDictionary <KeyType, ObjectType>(NSExtendedDictionary)

- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;

@end

@interface NSDictionary <KeyType, ObjectType>(NSDictionaryCreation)

+ (instancetype)dictionary;
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                              forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)count;

@end

@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>

- (void)setObject:(ObjectType)anObject forKey:(KeyType<NSCopying>)aKey;
- (void)setObject:(ObjectType)object forKeyedSubscript:(KeyType<NSCopying>)key;

@end

@interface NSMutableDictionary <KeyType, ObjectType>(NSMutableDictionaryCreation)

+ (instancetype)dictionaryWithCapacity:(NSUInteger)capacity;

@end

NS_ASSUME_NONNULL_END
