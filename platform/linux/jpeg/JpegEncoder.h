#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/Data.h"
#include "platform/linux/frame/CapturedPixelBuffer.h"
#include "platform/linux/jpeg/CodedRect.h"
#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/JpegFile.h"
#include "platform/linux/jpeg/SegmentPlan.h"
#include "platform/linux/jpeg/WorkerTeam.h"

namespace quorvin {

// How the work on a picture is shared.
struct JpegThreads {
  std::size_t count = 1;  // with the caller's
  // From how many pixels to code on it is worth waking the others.
  std::int64_t sharedFromPx = std::int64_t{8} * mcuSidePx * 1920;

  [[nodiscard]] static JpegThreads ofThisMachine();
};

// Writes JPEG files (ITU-T T.81) of the pictures of a screen. They are cut into restart segments,
// which are decoded without any other, so that the bytes of one that looks as it did in the last
// file are taken over from there; only what changed is coded. A file depends on its picture and
// quality alone, never on what came before.
//
// Kept between two pictures are the last file, which its receiver may hold as well, and the memory
// in which segments were coded: together at most twice the size of the last file, and a few words a
// segment. What waits in the pool for the next file comes on top. One thread at a time.
class JpegEncoder {
 public:
  explicit JpegEncoder(JpegThreads threads) : threads(threads) {}

  // The sides of the picture are 1 to 65500 pixels, the quality 1 to 100. Nothing when memory is
  // exhausted; the next picture is then coded like any other.
  [[nodiscard]] std::optional<Data> encode(const CapturedPixelBuffer& picture, int quality);

  // Of the last file and of the memory for coding.
  [[nodiscard]] std::size_t keptBytes() const;

 private:
  struct LastFile {
    JpegForm form;
    std::shared_ptr<const RowHistory> history;
    JpegFile file;
  };

  [[nodiscard]] std::optional<Data> encodeChanges(const CapturedPixelBuffer& picture,
                                                  const JpegForm& form);
  [[nodiscard]] std::vector<SegmentRect> changedRects(const CapturedPixelBuffer& picture,
                                                      const JpegForm& form) const;
  [[nodiscard]] bool isWorthSharing(int segments, const JpegForm& form) const;
  [[nodiscard]] bool code(const CapturedPixelBuffer& picture, const JpegForm& form,
                          std::vector<SegmentRect> rects);
  [[nodiscard]] bool prepareHead(const JpegForm& form);
  [[nodiscard]] std::vector<Segments> piecesOf(const JpegForm& form) const;
  void remember(const CapturedPixelBuffer& picture, const JpegForm& form, JpegFile file);
  void forgetCoded();
  // Keeps what `keptBytes` may be behind a file of this size.
  void trim(std::size_t sizeBytes);

  JpegThreads threads;
  std::unique_ptr<WorkerTeam> team;  // from the first picture on that is worth it
  std::shared_ptr<FrameBufferPool> buffers = std::make_shared<FrameBufferPool>();
  JpegForm headForm;
  GrowingBytes head;
  std::vector<CodedRect> rectMemory;
  std::span<CodedRect> coded;  // what of it the picture at hand takes
  std::optional<LastFile> last;
};

}  // namespace quorvin
