#include "bench/FfmpegFrames.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace quorvin {

namespace {

constexpr int pipeBytes = 1 << 20;
constexpr std::size_t chunkBytes = 1 << 18;
// The end of a JPEG file, which its coded data cannot contain (ITU-T T.81, B.1.1.2).
constexpr std::array<std::uint8_t, 2> endOfImage{0xFF, 0xD9};
// The start code of a sequence parameter set, with which every frame that stands by itself
// begins. Nothing that follows it in the same frame looks like it (ITU-T H.264, annex B).
constexpr std::array<std::uint8_t, 5> sequenceSet{0, 0, 0, 1, 0x67};

std::vector<std::string> argumentsFor(const FfmpegFrames::Options& options) {
  std::vector<std::string> words{"ffmpeg", "-nostdin", "-v", "error", "-f", "x11grab"};
  const auto add = [&words](const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
  };
  add({"-framerate", "30", "-video_size",
       std::to_string(options.screen.width) + "x" + std::to_string(options.screen.height)});
  add(options.input);
  add({"-i", options.server});
  add(options.output);
  // A frame that comes late is not made up for by encoding another one twice.
  add({"-fps_mode", "vfr", "-flush_packets", "1", "-f", options.isH264 ? "h264" : "mjpeg",
       "pipe:3"});
  return words;
}

}  // namespace

FfmpegFrames::FfmpegFrames(const Options& options) : isH264(options.isH264) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  pipe = FileDescriptor(ends[0]);
  ::fcntl(ends[1], F_SETPIPE_SZ, pipeBytes);
  process = std::make_unique<HostProcess>(HostProcess::Launch{.program = "/usr/bin/env",
                                                              .arguments = argumentsFor(options),
                                                              .environment = {"PATH=/usr/bin:/bin"},
                                                              .link = FileDescriptor(ends[1])});
}

std::optional<FrameSource::Bytes> FfmpegFrames::next(Clock::time_point deadline) {
  while (true) {
    if (const auto end = endOfFrame()) {
      const auto cut = received.begin() + static_cast<std::ptrdiff_t>(*end);
      Bytes frame(received.begin(), cut);
      received.erase(received.begin(), cut);
      searched = 0;
      return frame;
    }
    if (!receive(deadline)) return std::nullopt;
  }
}

bool FfmpegFrames::receive(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  pollfd waiting{.fd = pipe.get(), .events = POLLIN, .revents = 0};
  if (::poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(0, left.count()))) <= 0) {
    return false;
  }
  const auto before = received.size();
  received.resize(before + chunkBytes);
  const auto count = ::read(pipe.get(), &received[before], chunkBytes);
  received.resize(before + static_cast<std::size_t>(std::max<ssize_t>(0, count)));
  if (count <= 0) throw std::runtime_error("ffmpeg has ended: " + process->errorOutput());
  return true;
}

std::optional<std::size_t> FfmpegFrames::endOfFrame() {
  const auto find = [this](const auto& mark, std::size_t from) -> std::optional<std::size_t> {
    const auto start =
        received.begin() + static_cast<std::ptrdiff_t>(std::min(from, received.size()));
    const auto found = std::search(start, received.end(), mark.begin(), mark.end());
    if (found == received.end()) return std::nullopt;
    return static_cast<std::size_t>(found - received.begin());
  };
  // A mark may have come in two parts.
  const auto from = std::max(searched, sequenceSet.size()) - (sequenceSet.size() - 1);
  searched = received.size();
  if (isH264) return find(sequenceSet, from);  // that of the next frame
  const auto end = find(endOfImage, from);
  return end ? std::optional(*end + endOfImage.size()) : std::nullopt;
}

std::vector<std::string> intraOnlyX264() {
  return {"-c:v", "libx264",  "-preset", "ultrafast", "-tune", "zerolatency", "-g",     "1", "-b:v",
          "7M",   "-maxrate", "7M",      "-bufsize",  "7M",    "-pix_fmt",    "yuv420p"};
}

std::vector<std::string> motionJpeg(int quality) {
  return {"-c:v", "mjpeg", "-q:v", std::to_string(quality), "-pix_fmt", "yuvj420p"};
}

}  // namespace quorvin
