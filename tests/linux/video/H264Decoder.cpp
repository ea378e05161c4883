#include "tests/linux/video/H264Decoder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

#include "tests/linux/video/AvPacket.h"

namespace quorvin {

namespace {

void require(bool condition, const char* complaint) {
  if (!condition) throw std::runtime_error(complaint);
}

std::vector<std::uint8_t> planeOf(const AVFrame& frame, int plane, PixelSize size) {
  std::vector<std::uint8_t> bytes;
  for (int y = 0; y < size.height; ++y) {
    const std::uint8_t* row = frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
    bytes.insert(bytes.end(), row, row + size.width);
  }
  return bytes;
}

DecodedFrame copyOf(const AVFrame& frame, int profile) {
  DecodedFrame copy;
  copy.size = {frame.width, frame.height};
  copy.isKeyFrame = frame.key_frame != 0;
  copy.profile = profile;
  copy.primaries = frame.color_primaries;
  copy.transfer = frame.color_trc;
  copy.matrix = frame.colorspace;
  copy.isLimitedRange = frame.color_range == AVCOL_RANGE_MPEG;
  const PixelSize half{(frame.width + 1) / 2, (frame.height + 1) / 2};
  copy.lumas = planeOf(frame, 0, copy.size);
  copy.blueChromas = planeOf(frame, 1, half);
  copy.redChromas = planeOf(frame, 2, half);
  return copy;
}

std::uint32_t byteOf(double value) {
  return static_cast<std::uint32_t>(std::clamp(std::lround(value), 0L, 255L));
}

double squaresOfDifferences(const std::vector<std::uint8_t>& a,
                            const std::vector<std::uint8_t>& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const int difference = a[i] - b.at(i);
    sum += difference * difference;
  }
  return sum;
}

}  // namespace

std::uint32_t DecodedFrame::colourAt(int x, int y) const {
  const auto width = static_cast<std::size_t>(size.width);
  const auto column = static_cast<std::size_t>(x);
  const auto row = static_cast<std::size_t>(y);
  const std::size_t half = row / 2 * ((width + 1) / 2) + column / 2;
  const double luma = (lumas.at(row * width + column) - 16) * 255 / 219.0;
  const double blue = (blueChromas.at(half) - 128) * 255 / 224.0;
  const double red = (redChromas.at(half) - 128) * 255 / 224.0;
  // ITU-R BT.709-6, 3.2 and 3.3, the other way round.
  return byteOf(luma + 1.5748 * red) << 16U | byteOf(luma - 0.1873 * blue - 0.4681 * red) << 8U |
         byteOf(luma + 1.8556 * blue);
}

void H264Decoder::Free::operator()(AVCodecContext* owned) const {
  avcodec_free_context(&owned);
}

void H264Decoder::Free::operator()(AVFrame* owned) const {
  av_frame_free(&owned);
}

H264Decoder::H264Decoder() : frame(av_frame_alloc()) {
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
  require(codec != nullptr, "no decoder of H.264");
  context.reset(avcodec_alloc_context3(codec));
  require(context && frame, "no memory for a decoder");
  context->thread_count = 1;
  context->flags |= AV_CODEC_FLAG_LOW_DELAY;
  context->err_recognition = AV_EF_EXPLODE | AV_EF_CAREFUL | AV_EF_BITSTREAM | AV_EF_BUFFER;
  require(avcodec_open2(context.get(), codec, nullptr) == 0, "the decoder does not open");
}

std::vector<DecodedFrame> H264Decoder::decode(const std::vector<std::uint8_t>& payload) {
  require(avcodec_send_packet(context.get(), AvPacket(payload).get()) == 0,
          "the decoder refuses a payload");
  std::vector<DecodedFrame> frames;
  while (avcodec_receive_frame(context.get(), frame.get()) == 0) {
    require(frame->decode_error_flags == 0, "the decoder found errors");
    frames.push_back(copyOf(*frame, context->profile));
  }
  return frames;
}

std::vector<DecodedFrame> H264Decoder::decodeAll(
    const std::vector<std::vector<std::uint8_t>>& payloads) {
  H264Decoder decoder;
  std::vector<DecodedFrame> all;
  for (const auto& payload : payloads) {
    auto frames = decoder.decode(payload);
    std::ranges::move(frames, std::back_inserter(all));
  }
  return all;
}

double psnrOf(const DecodedFrame& frame, const DecodedFrame& original) {
  require(frame.size == original.size, "frames of different sizes");
  const double squares = squaresOfDifferences(frame.lumas, original.lumas) +
                         squaresOfDifferences(frame.blueChromas, original.blueChromas) +
                         squaresOfDifferences(frame.redChromas, original.redChromas);
  if (squares == 0) return std::numeric_limits<double>::infinity();
  const auto count =
      static_cast<double>(frame.lumas.size() + frame.blueChromas.size() + frame.redChromas.size());
  return 10 * std::log10(255.0 * 255.0 * count / squares);
}

}  // namespace quorvin
