#pragma once

#import <Foundation/NSObject.h>
#import <Foundation/NSPathUtilities.h>

NS_ASSUME_NONNULL_BEGIN

@class NSArray<ObjectType>, NSDictionary<KeyType, ObjectType>, NSError, NSString, NSURL;

typedef NSString* NSFileAttributeKey NS_TYPED_EXTENSIBLE_ENUM;
FOUNDATION_EXPORT NSFileAttributeKey const NSFilePosixPermissions;

// Works on real files.
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
- (BOOL)setAttributes:(NSDictionary<NSFileAttributeKey, id>*)attributes
         ofItemAtPath:(NSString*)path
                error:(NSError* _Nullable* _Nullable)error;
- (nullable NSString*)destinationOfSymbolicLinkAtPath:(NSString*)path
                                                error:(NSError* _Nullable* _Nullable)error;
- (BOOL)removeItemAtURL:(NSURL*)URL error:(NSError* _Nullable* _Nullable)error;
- (BOOL)fileExistsAtPath:(NSString*)path;
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(nullable BOOL*)isDirectory;

@end

@interface NSFileManager (NSUserInformation)

@property(readonly, copy) NSURL* homeDirectoryForCurrentUser;
@property(readonly, copy) NSURL* temporaryDirectory;

@end

NS_ASSUME_NONNULL_END
