#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/Data.h"
#include "platform/ImageEncoder.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/JpegFile.h"
#include "platform/linux/jpeg/SegmentPlan.h"
#include "platform/linux/jpeg/ThreadPool.h"

namespace quorvin {

// How the work on a frame is shared.
struct JpegThreads {
  std::size_t count = 1;  // with the caller's
  // From how many pixels to code on it is worth waking the others.
  std::int64_t sharedFromPx = std::int64_t{8} * mcuSidePx * 1920;

  [[nodiscard]] static JpegThreads ofThisMachine();
};

// Writes JPEG files (ITU-T T.81) of the frames of a screen. A file consists of restart segments,
// each of which is decoded without the others. Only segments with damage are coded; the bytes of
// the others are copied from the last file. A file depends on its frame and quality alone. One
// thread at a time.
//
// Between two frames the encoder keeps the last file, which its receiver may hold as well, and the
// memory in which segments were coded: together at most twice the size of the last file, and a few
// words a segment. The buffers that wait in the pool come on top.
class JpegEncoder {
 public:
  explicit JpegEncoder(JpegThreads threads) : threads(threads) {}

  // The sides of the frame are 1 to 65500 pixels, the quality 1 to 100. Nothing when memory is
  // exhausted; the next frame is then coded like any other.
  [[nodiscard]] std::optional<Data> encode(const CapturedFrame& frame, int quality);

  // Of the last file and of the memory for coding.
  [[nodiscard]] std::size_t keptBytes() const;

 private:
  struct LastFile {
    JpegParams params;
    std::shared_ptr<const DamageHistory> history;
    JpegFile file;
  };

  [[nodiscard]] std::optional<Data> encodeChanges(const CapturedFrame& frame,
                                                  const JpegParams& params);
  [[nodiscard]] std::vector<SegmentRect> changedRects(const CapturedFrame& frame,
                                                      const JpegParams& params) const;
  [[nodiscard]] bool isWorthSharing(int segments, const JpegParams& params) const;
  [[nodiscard]] bool code(const CapturedFrame& frame, const JpegParams& params,
                          std::vector<SegmentRect> rects);
  [[nodiscard]] bool prepareHeader(const JpegParams& params);
  [[nodiscard]] std::vector<Segments> piecesOf(const JpegParams& params) const;
  void remember(const CapturedFrame& frame, const JpegParams& params, JpegFile file);
  void forgetCoded();
  // Keeps what `keptBytes` may be behind a file of this size.
  void trim(std::size_t sizeBytes);

  JpegThreads threads;
  std::unique_ptr<ThreadPool> pool;  // from the first frame on that is worth it
  std::shared_ptr<FrameBufferPool> buffers = std::make_shared<FrameBufferPool>();
  JpegParams headerParams;
  ByteBuffer header;
  std::vector<CodedRect> rectMemory;
  std::span<CodedRect> coded;  // what of it the frame at hand takes
  std::optional<LastFile> last;
};

// Writes JPEG with libjpeg-turbo: colours at half resolution (4:2:0), quality 1 to 100 as the
// factor in percent. Only frames that LinuxScreenCapture made can be rendered.
class LinuxImageEncoder final : public ImageEncoder {
 public:
  LinuxImageEncoder() = default;

  // There are no intermediates that could be kept: the compressor reads the captured pixels.
  [[nodiscard]] std::unique_ptr<ImageContext> makeContext(bool cacheIntermediates) override;
};

}  // namespace quorvin
