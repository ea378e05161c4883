#import <CoreMedia/CMSampleBuffer.h>

#import <CoreGraphics/LiveHandles.h>
#import <CoreMedia/CoreMediaControl.h>

using standin::record;

const CFStringRef kCMSampleAttachmentKey_NotSync = CFSTR("NotSync");

namespace {

standin::LiveHandles& liveSamples() {
  static standin::LiveHandles handles("CMSampleBuffer");
  return handles;
}

}  // namespace

// What a CMSampleBufferRef points at.
@interface StandInSampleBuffer : NSObject
@end

@implementation StandInSampleBuffer {
 @public
  standin::SampleBufferScript _script;
}

- (instancetype)initWithScript:(const standin::SampleBufferScript&)script {
  self = [super init];
  if (self) {
    _script = script;
    liveSamples().add((__bridge void*)self);
  }
  return self;
}

- (void)dealloc {
  liveSamples().remove((__bridge void*)self);
}

@end

namespace {

// Of a sample buffer that is gone: nothing at all.
standin::SampleBufferScript contentOf(CMSampleBufferRef sbuf, const char* operation) {
  if (!liveSamples().check(sbuf, operation)) return {.isValid = false};
  return ((__bridge StandInSampleBuffer*)sbuf)->_script;
}

}  // namespace

Boolean CMSampleBufferIsValid(CMSampleBufferRef sbuf) {
  record("CMSampleBufferIsValid");
  return contentOf(sbuf, "CMSampleBufferIsValid").isValid;
}

CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef sbuf) {
  record("CMSampleBufferGetPresentationTimeStamp");
  return contentOf(sbuf, "CMSampleBufferGetPresentationTimeStamp").presentationTimeStamp;
}

CMBlockBufferRef CMSampleBufferGetDataBuffer(CMSampleBufferRef sbuf) {
  record("CMSampleBufferGetDataBuffer");
  return (__bridge CMBlockBufferRef)contentOf(sbuf, "CMSampleBufferGetDataBuffer").dataBuffer;
}

CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef sbuf) {
  record("CMSampleBufferGetFormatDescription");
  return (__bridge CMFormatDescriptionRef)contentOf(sbuf, "CMSampleBufferGetFormatDescription")
      .formatDescription;
}

CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sbuf) {
  record("CMSampleBufferGetImageBuffer");
  return (__bridge CVImageBufferRef)contentOf(sbuf, "CMSampleBufferGetImageBuffer").imageBuffer;
}

CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef sbuf,
                                                   Boolean createIfNecessary) {
  record("CMSampleBufferGetSampleAttachmentsArray", {createIfNecessary ? "true" : "false"});
  if (createIfNecessary) standin::violation("no attachments are made here");
  return (__bridge CFArrayRef)contentOf(sbuf, "CMSampleBufferGetSampleAttachmentsArray")
      .attachments;
}

namespace standin {

id makeSampleBuffer(const SampleBufferScript& script) {
  return [[StandInSampleBuffer alloc] initWithScript:script];
}

}  // namespace standin
