// A stream gives the same frames and the same end however it is split, and the frames written
// again are the part of the stream that was read.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/Fatal.h"
#include "platform/flutter/LinkFrame.h"

using namespace quorvin;  // NOLINT: a program of one file

namespace {

struct Outcome {
  std::vector<LinkFrame> frames;
  std::string error;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

// The pieces are as long as the bytes of `lengths` say, over and over; 0 stands for everything.
Outcome readInPieces(std::span<const std::uint8_t> stream, std::span<const std::uint8_t> lengths) {
  Outcome outcome;
  LinkFrameReader reader;
  try {
    for (std::size_t i = 0; !stream.empty(); ++i) {
      const std::size_t wanted = lengths.empty() ? 0 : lengths[i % lengths.size()];
      const std::size_t length = wanted == 0 ? stream.size() : std::min(wanted, stream.size());
      reader.append(stream.first(length));
      stream = stream.subspan(length);
      while (auto frame = reader.next()) outcome.frames.push_back(*std::move(frame));
    }
  } catch (const LinkError& error) {
    outcome.error = error.what();
  }
  return outcome;
}

void checkWrittenAgain(const Outcome& outcome, std::span<const std::uint8_t> stream) {
  Bytes written;
  for (const auto& frame : outcome.frames) {
    const Bytes bytes = encodeLinkFrame(frame);
    written.insert(written.end(), bytes.begin(), bytes.end());
  }
  if (written.size() > stream.size() ||
      !std::ranges::equal(written, stream.first(written.size()))) {
    fatalError("frames are not written as they were read");
  }
}

}  // namespace

// The first byte says how many bytes after it choose the lengths of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  if (size == 0) return 0;
  const std::span<const std::uint8_t> input(data + 1, size - 1);
  const std::size_t lengths = std::min<std::size_t>(data[0] % 8, input.size());
  const auto stream = input.subspan(lengths);

  const Outcome whole = readInPieces(stream, {});
  if (readInPieces(stream, input.first(lengths)) != whole) {
    fatalError("the frames depend on how the stream is split");
  }
  checkWrittenAgain(whole, stream);
  return 0;
}
