#pragma once

#include "platform/Mutex.h"
#include "platform/VideoEncoder.h"
#include "platform/linux/video/EncodingThread.h"

namespace quorvin {

// A session of the encoder of this back end. Pictures never depend on each other and come out in
// the order in which they were put in, whatever is allowed. Any thread, and also from within what
// it hands out.
class VideoSession final : public CompressionSession {
 public:
  // Throws std::bad_alloc or std::system_error.
  VideoSession(PixelSize size, CompressionOutput& output);

  EncoderStatus setProperty(CompressionProperty property, CompressionPropertyValue value) override;
  EncoderStatus prepareToEncodeFrames() override;
  EncoderStatus encodeFrame(const std::shared_ptr<PixelBuffer>& picture,
                            MediaTime presentationTimeStamp,
                            std::optional<MediaTime> duration) override;
  EncoderStatus completeFrames(std::optional<MediaTime> until) override;
  void invalidate() override;

 private:
  PixelSize size;
  Mutex mutex;
  EncoderSettings settings QUORVIN_GUARDED_BY(mutex);
  bool isValid QUORVIN_GUARDED_BY(mutex) = true;
  EncodingThread thread;
};

}  // namespace quorvin
