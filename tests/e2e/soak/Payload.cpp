#include "tests/e2e/soak/Payload.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "tests/linux/video/H264Decoder.h"

namespace quorvin {

namespace {

constexpr std::string_view h264Mark = "QNH2";
constexpr std::size_t h264HeadSize = 12;
constexpr int bandHeightPx = 16;

void require(bool condition, const std::string& complaint) {
  if (!condition) throw std::runtime_error(complaint);
}

bool isH264(std::span<const std::uint8_t> payload) {
  return payload.size() > h264HeadSize &&
         std::ranges::equal(payload.first(h264Mark.size()), h264Mark);
}

int bigEndian16(std::span<const std::uint8_t> bytes, std::size_t at) {
  return bytes[at] << 8 | bytes[at + 1];
}

// With chromas of half the resolution no other can be encoded.
PixelSize evenSize(PixelSize size) {
  return {size.width + size.width % 2, size.height + size.height % 2};
}

std::vector<std::uint8_t> cropped(const DecodedFrame& frame, PixelSize size) {
  std::vector<std::uint8_t> lumas;
  for (int y = 0; y < size.height; ++y) {
    const auto row = frame.lumas.begin() + std::ptrdiff_t{y} * frame.size.width;
    lumas.insert(lumas.end(), row, row + size.width);
  }
  return lumas;
}

DecodedPayload decodeH264(std::span<const std::uint8_t> payload) {
  const PixelSize size{bigEndian16(payload, 6), bigEndian16(payload, 8)};
  const auto stream = payload.subspan(h264HeadSize);
  auto frames = H264Decoder().decode({stream.begin(), stream.end()});
  require(frames.size() == 1, "an H.264 payload is not one frame");
  const auto& frame = frames.front();
  require(payload[4] == 1 && frame.isKeyFrame, "an H.264 payload is not a key frame");
  require(frame.size == evenSize(size), "an H.264 payload has another size than it says");
  return {PayloadKind{true, size}, cropped(frame, size)};
}

DecodedPayload decodeJpeg(std::span<const std::uint8_t> payload) {
  const std::unique_ptr<void, int (*)(void*)> decoder(tjInitDecompress(), tjDestroy);
  PixelSize size;
  int subsampling = 0;
  int colours = 0;
  const auto length = static_cast<unsigned long>(payload.size());  // NOLINT: the library's own type
  require(tjDecompressHeader3(decoder.get(), payload.data(), length, &size.width, &size.height,
                              &subsampling, &colours) == 0,
          "a payload is neither JPEG nor H.264");
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(wholeOf(size).area()) * 4);
  // It warns of what it could make up for, which counts as well.
  require(tjDecompress2(decoder.get(), payload.data(), length, pixels.data(), size.width, 0,
                        size.height, TJPF_BGRX, TJFLAG_STOPONWARNING) == 0,
          std::string("a JPEG payload is broken: ") + tjGetErrorStr2(decoder.get()));
  require(payload[payload.size() - 2] == 0xFF && payload.back() == 0xD9,
          "a JPEG payload goes on behind its end");
  return {PayloadKind{false, size}, std::move(pixels)};
}

}  // namespace

std::string textOf(const PayloadKind& kind) {
  return std::string(kind.isH264 ? "H.264 " : "JPEG ") + std::to_string(kind.size.width) + "x" +
         std::to_string(kind.size.height);
}

DecodedPayload decodePayload(std::span<const std::uint8_t> payload) {
  return isH264(payload) ? decodeH264(payload) : decodeJpeg(payload);
}

std::vector<std::uint8_t> DecodedPayload::lumas() const {
  if (kind.isH264) return bytes;
  std::vector<std::uint32_t> pixels(bytes.size() / 4);
  std::memcpy(pixels.data(), bytes.data(), bytes.size());
  return lumasOf(pixels);
}

std::vector<std::uint8_t> lumasOf(std::span<const std::uint32_t> pixels) {
  std::vector<std::uint8_t> lumas;
  lumas.reserve(pixels.size());
  std::ranges::transform(pixels, std::back_inserter(lumas), [](std::uint32_t pixel) {
    // ITU-R BT.709-6, 3.2 and 3.4.
    const double weighted =
        0.2126 * (pixel >> 16U & 255) + 0.7152 * (pixel >> 8U & 255) + 0.0722 * (pixel & 255);
    return static_cast<std::uint8_t>(16.5 + weighted * 219 / 255);
  });
  return lumas;
}

double worstBandPsnr(std::span<const std::uint8_t> lumas, std::span<const std::uint8_t> original,
                     PixelSize size) {
  require(lumas.size() == original.size(), "frames of different sizes");
  double worst = std::numeric_limits<double>::infinity();
  for (int y = 0; y < size.height; y += bandHeightPx) {
    const auto first = static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width);
    const auto count = static_cast<std::size_t>(std::min(bandHeightPx, size.height - y)) *
                       static_cast<std::size_t>(size.width);
    double squares = 0;
    for (std::size_t i = first; i < first + count; ++i) {
      const int difference = lumas[i] - original[i];
      squares += difference * difference;
    }
    const auto mean = std::max(squares, 1.0) / static_cast<double>(count);
    worst = std::min(worst, 10 * std::log10(255.0 * 255.0 / mean));
  }
  return worst;
}

}  // namespace quorvin
