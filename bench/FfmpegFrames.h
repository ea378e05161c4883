#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/FrameSource.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/unix/FileDescriptor.h"
#include "tests/e2e/link/HostProcess.h"

namespace quorvin {

// `ffmpeg -f x11grab` at 30 frames a second, read through a pipe.
class FfmpegFrames final : public FrameSource {
 public:
  struct Options {
    std::string server;
    PixelSize screen;
    std::vector<std::string> input;   // further options of what is grabbed
    std::vector<std::string> output;  // filters, the encoder and its settings
    bool isH264 = false;              // else each frame is a JPEG file
  };

  explicit FfmpegFrames(const Options& options);

  [[nodiscard]] std::optional<Bytes> next(Clock::time_point deadline) override;
  [[nodiscard]] pid_t processId() const override { return process->processId(); }

 private:
  // False when nothing came in time.
  [[nodiscard]] bool receive(Clock::time_point deadline);
  [[nodiscard]] std::optional<std::size_t> endOfFrame();

  bool isH264;
  FileDescriptor pipe;
  std::unique_ptr<HostProcess> process;
  Bytes received;
  std::size_t searched = 0;  // bytes of them in which no end has been found
};

// libx264 for latency, every frame by itself, at the bit rate of the host's default.
[[nodiscard]] std::vector<std::string> intraOnlyX264();
// JPEG files of this quality, from 2, the finest, to 31.
[[nodiscard]] std::vector<std::string> motionJpeg(int quality);

}  // namespace quorvin
