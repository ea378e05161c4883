#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

// File URLs and plain absolute ones; nothing is resolved against a base.
@interface NSURL : NSObject <NSCopying, NSSecureCoding>

- (instancetype)initFileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
- (instancetype)initFileURLWithPath:(NSString*)path;
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
+ (NSURL*)fileURLWithPath:(NSString*)path;
+ (nullable instancetype)URLWithString:(NSString*)URLString;

@property(nullable, readonly, copy) NSString* absoluteString;
@property(nullable, readonly, copy) NSString* scheme;
@property(nullable, readonly, copy) NSString* path;
@property(readonly) BOOL hasDirectoryPath;
@property(readonly, getter=isFileURL) BOOL fileURL;
@property(nullable, readonly, copy) NSURL* standardizedURL;
@property(readonly) const char* fileSystemRepresentation NS_RETURNS_INNER_POINTER;

@end

@interface NSURL (NSURLPathUtilities)

@property(nullable, readonly, copy) NSString* lastPathComponent;
@property(nullable, readonly, copy) NSString* pathExtension;
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent;
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent
                                   isDirectory:(BOOL)isDirectory;
@property(nullable, readonly, copy) NSURL* URLByDeletingLastPathComponent;
@property(nullable, readonly, copy) NSURL* URLByStandardizingPath;

@end

NS_ASSUME_NONNULL_END
