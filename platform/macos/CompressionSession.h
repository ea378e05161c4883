#pragma once

#import <VideoToolbox/VideoToolbox.h>

#include <memory>
#include <type_traits>

#include "platform/VideoEncoder.h"

namespace quorvin {

// A compression session of Video Toolbox's. Only frames of MacScreenCapture can be encoded.
class MacCompressionSession final : public CompressionSession {
 public:
  // Takes over the reference that the caller owns.
  explicit MacCompressionSession(VTCompressionSessionRef session) : session(session) {}
  ~MacCompressionSession() override;

  EncoderStatus setProperty(CompressionProperty property, CompressionPropertyValue value) override;
  EncoderStatus prepareToEncodeFrames() override;
  EncoderStatus encodeFrame(const std::shared_ptr<PixelBuffer>& frame,
                            MediaTime presentationTimeStamp,
                            std::optional<MediaTime> duration) override;
  EncoderStatus completeFrames(std::optional<MediaTime> until) override;
  void invalidate() override;

 private:
  struct Release {
    void operator()(VTCompressionSessionRef held) const { CFRelease(held); }
  };

  const std::unique_ptr<std::remove_pointer_t<VTCompressionSessionRef>, Release> session;
  bool isInvalidated = false;
};

}  // namespace quorvin
