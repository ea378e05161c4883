#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSPathUtilities.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSDictionary<KeyType, ObjectType>, NSError, NSString, NSURL;

typedef NSString* NSFileAttributeKey NS_TYPED_EXTENSIBLE_ENUM;

// Works on real files. Knows no folder of the user's but the Desktop, and no attributes.
@interface NSFileManager : NSObject

@property(class, readonly, strong) NSFileManager* defaultManager;

- (NSArray<NSURL*>*)URLsForDirectory:(NSSearchPathDirectory)directory
                           inDomains:(NSSearchPathDomainMask)domainMask;
- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError* _Nullable* _Nullable)error;
- (BOOL)createSymbolicLinkAtURL:(NSURL*)url
             withDestinationURL:(NSURL*)destURL
                          error:(NSError* _Nullable* _Nullable)error;
- (nullable NSString*)destinationOfSymbolicLinkAtPath:(NSString*)path
                                                error:(NSError* _Nullable* _Nullable)error;
- (BOOL)removeItemAtURL:(NSURL*)URL error:(NSError* _Nullable* _Nullable)error;
- (BOOL)fileExistsAtPath:(NSString*)path;

@end

@interface NSFileManager (NSUserInformation)

@property(readonly, copy) NSURL* homeDirectoryForCurrentUser;

@end

NS_ASSUME_NONNULL_END
