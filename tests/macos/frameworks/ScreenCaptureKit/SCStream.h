#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#import <ScreenCaptureKit/SCShareableContent.h>
#import <dispatch/dispatch.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, SCStreamOutputType) {
  SCStreamOutputTypeScreen,
  SCStreamOutputTypeAudio,
};

typedef NS_ENUM(NSInteger, SCFrameStatus) {
  SCFrameStatusComplete,
  SCFrameStatusIdle,
  SCFrameStatusBlank,
  SCFrameStatusSuspended,
  SCFrameStatusStarted,
  SCFrameStatusStopped,
};

// Keys of a sample's attachments; the status is an NSNumber holding an SCFrameStatus.
typedef NSString* SCStreamFrameInfo NS_TYPED_ENUM;
extern "C" SCStreamFrameInfo const SCStreamFrameInfoStatus;

@interface SCContentFilter : NSObject
- (instancetype)initWithDisplay:(SCDisplay*)display excludingWindows:(NSArray<SCWindow*>*)excluded;
@end

@interface SCStreamConfiguration : NSObject
@property(nonatomic, assign) size_t width;   // pixels
@property(nonatomic, assign) size_t height;  // pixels
@property(nonatomic, assign) CMTime minimumFrameInterval;
@property(nonatomic, assign) OSType pixelFormat;
@property(nonatomic, assign) BOOL showsCursor;
@property(nonatomic, assign) NSInteger queueDepth;
@end

@class SCStream;

@protocol SCStreamOutput <NSObject>
@optional
- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
                   ofType:(SCStreamOutputType)type;
@end

@protocol SCStreamDelegate <NSObject>
@optional
- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error;
@end

// Any thread. Completion handlers and the delegate come on a thread of the system's choosing.
@interface SCStream : NSObject
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
- (instancetype)initWithFilter:(SCContentFilter*)contentFilter
                 configuration:(SCStreamConfiguration*)streamConfig
                      delegate:(nullable id<SCStreamDelegate>)delegate;
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(nullable dispatch_queue_t)sampleHandlerQueue
                  error:(NSError* _Nullable* _Nullable)error;
- (void)updateConfiguration:(SCStreamConfiguration*)streamConfig
          completionHandler:(nullable void (^)(NSError* _Nullable error))completionHandler;
- (void)startCaptureWithCompletionHandler:
    (nullable void (^)(NSError* _Nullable error))completionHandler;
- (void)stopCaptureWithCompletionHandler:
    (nullable void (^)(NSError* _Nullable error))completionHandler;
@end

NS_ASSUME_NONNULL_END
