#include "bench/FrameQuality.h"

#include <libyuv/convert_argb.h>

#include <cmath>
#include <stdexcept>

#include "tests/linux/video/AvPacket.h"

namespace quorvin {

namespace {

void require(bool condition, const char* complaint) {
  if (!condition) throw std::runtime_error(complaint);
}

// Without a word in the stream the colours are those of BT.601, as ffmpeg's own conversion makes
// them.
const libyuv::YuvConstants& coloursOf(const AVFrame& frame) {
  if (frame.format == AV_PIX_FMT_YUVJ420P) return libyuv::kYuvJPEGConstants;
  return frame.colorspace == AVCOL_SPC_BT709 ? libyuv::kYuvH709Constants
                                             : libyuv::kYuvI601Constants;
}

std::int64_t squareOfDifference(std::uint32_t a, std::uint32_t b) {
  int sum = 0;
  for (const unsigned shift : {0U, 8U, 16U}) {
    const int difference =
        static_cast<int>((a >> shift) & 0xFF) - static_cast<int>((b >> shift) & 0xFF);
    sum += difference * difference;
  }
  return sum;
}

}  // namespace

void FrameDecoder::Free::operator()(AVCodecContext* owned) const {
  avcodec_free_context(&owned);
}

void FrameDecoder::Free::operator()(AVFrame* owned) const {
  av_frame_free(&owned);
}

FrameDecoder::FrameDecoder(bool isH264) : frame(av_frame_alloc()) {
  const AVCodec* codec = avcodec_find_decoder(isH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_MJPEG);
  require(codec != nullptr, "no decoder");
  context.reset(avcodec_alloc_context3(codec));
  require(context && frame, "no memory for a decoder");
  context->thread_count = 1;
  context->flags |= AV_CODEC_FLAG_LOW_DELAY;
  require(avcodec_open2(context.get(), codec, nullptr) == 0, "the decoder does not open");
}

std::vector<std::uint32_t> FrameDecoder::decode(std::span<const std::uint8_t> coded,
                                                PixelSize size) {
  require(avcodec_send_packet(context.get(), AvPacket(coded).get()) == 0 &&
              avcodec_receive_frame(context.get(), frame.get()) == 0,
          "no frame");
  require(frame->width == size.width && frame->height == size.height, "a frame of another size");
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(wholeOf(size).area()));
  require(libyuv::I420ToARGBMatrix(frame->data[0], frame->linesize[0], frame->data[1],
                                   frame->linesize[1], frame->data[2], frame->linesize[2],
                                   reinterpret_cast<std::uint8_t*>(pixels.data()), size.width * 4,
                                   &coloursOf(*frame), size.width, size.height) == 0,
          "not converted");
  return pixels;
}

double meanSquareError(std::span<const std::uint32_t> frame,
                       std::span<const std::uint32_t> original, PixelSize size,
                       const PixelRect& leftOut) {
  std::int64_t sum = 0;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const bool isLeftOut =
          x >= leftOut.x && x < leftOut.right() && y >= leftOut.y && y < leftOut.bottom();
      const auto i = static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                     static_cast<std::size_t>(x);
      if (!isLeftOut) sum += squareOfDifference(frame[i], original[i]);
    }
  }
  const auto pixels = wholeOf(size).area() - intersectionOf(wholeOf(size), leftOut).area();
  return static_cast<double>(sum) / static_cast<double>(pixels * 3);
}

double psnrOf(double meanSquareError) {
  return 10 * std::log10(255.0 * 255.0 / meanSquareError);
}

}  // namespace quorvin
