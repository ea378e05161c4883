#pragma once

#import <Foundation/Foundation.h>
#import <VideoToolbox/VideoToolbox.h>

#include <cstddef>
#include <functional>
#include <string>

namespace standin {

// Any thread, unless it says otherwise.

// What one frame comes out of the encoder as.
struct EncoderOutput {
  OSStatus status = noErr;
  VTEncodeInfoFlags infoFlags = {};
  id sampleBuffer = nil;  // of makeSampleBuffer, with a data buffer and so on
};
// Runs inside the call that hands the frame in.
using Encoder = std::function<EncoderOutput(id imageBuffer, CMTime presentationTimeStamp)>;

// An encoder that drops every frame, no call fails, nothing is held back.
void resetVideoToolbox();

void setEncoder(Encoder encoder);
// Every following creation of a session ends in this status and, unless it is noErr, without one.
void setSessionCreationStatus(OSStatus status);
// Every following creation gives no session, whatever its status.
void withholdSessions();
// Every following setting of this property ends in this status.
void setPropertyStatus(const std::string& property, OSStatus status);
// Every following call of this function on a session has no effect but this status.
void setCallStatus(const std::string& function, OSStatus status);
// Keeps finished frames in the encoder until they are asked for, which completing them does too.
void holdEncodedFrames();
// Calls back before the call returns that hands a frame in, as Apple's documentation allows.
void callBackInsideTheCall();

// Sessions that have not been released.
[[nodiscard]] std::size_t liveCompressionSessions();

}  // namespace standin
