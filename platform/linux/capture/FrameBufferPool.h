#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace quorvin {

// Keeps a few buffers for finished frames, so that a frame costs no allocation and its memory is
// mapped already. A buffer comes back when its last owner lets go, on any thread, and also after
// everybody else has forgotten the pool. Any thread.
class FrameBufferPool : public std::enable_shared_from_this<FrameBufferPool> {
 public:
  // More frames than are ever under way between an encoder and its channel.
  static constexpr std::size_t maximumKept = 4;

  // At least so large; the contents are undefined.
  [[nodiscard]] std::shared_ptr<std::uint8_t> take(std::size_t sizeBytes);
  // How many buffers wait for their next use.
  [[nodiscard]] std::size_t keptCount();

 private:
  struct Buffer {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t capacity = 0;
  };

  [[nodiscard]] Buffer takeKept(std::size_t sizeBytes);
  void giveBack(Buffer buffer);

  std::mutex mutex;
  std::vector<Buffer> kept;
};

}  // namespace quorvin
