#include "tests/linux/jpeg/JpegDecoders.h"

#include <libyuv/convert_from_argb.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/linux/video/AvPacket.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace quorvin {

namespace {

void require(bool condition, const std::string& complaint) {
  if (!condition) throw std::runtime_error(complaint);
}

using TurboJpeg = std::unique_ptr<void, int (*)(void*)>;

struct FreeContext {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FreeFrame {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

void appendPlane(std::vector<std::uint8_t>& planes, const AVFrame& frame, int plane) {
  const auto* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
  const bool isColour = plane > 0;
  const int width = isColour ? AV_CEIL_RSHIFT(frame.width, format->log2_chroma_w) : frame.width;
  const int height = isColour ? AV_CEIL_RSHIFT(frame.height, format->log2_chroma_h) : frame.height;
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* row = frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane];
    planes.insert(planes.end(), row, row + width);
  }
}

// A compression by TurboJPEG: takes where to write, how many bytes there are and have become, and
// returns what the library does.
template <typename Compress>
std::vector<std::uint8_t> turboJpegFile(int width, int height, const Compress& compress) {
  const TurboJpeg compressor(tjInitCompress(), tjDestroy);
  std::vector<std::uint8_t> file(tjBufSize(width, height, TJSAMP_420));
  auto* bytes = file.data();
  auto size = static_cast<unsigned long>(file.size());  // NOLINT: the library's own type
  require(compress(compressor.get(), &bytes, &size) == 0, tjGetErrorStr2(compressor.get()));
  file.resize(size);
  return file;
}

// The whole frame in libyuv's brightness and colours. TurboJPEG wants even sides, and what is
// missing repeats what is last.
class Planes {
 public:
  explicit Planes(const CapturedFrame& frame)
      : width(static_cast<int>(frame.widthPx())),
        height(static_cast<int>(frame.heightPx())),
        stride((width + 1) / 2 * 2) {
    const int rows = (height + 1) / 2 * 2;
    const auto size = static_cast<std::size_t>(stride) * static_cast<std::size_t>(rows);
    for (auto& plane : planes) plane.resize(&plane == planes.data() ? size : size / 4);
    libyuv::ARGBToJ420(frame.data(), static_cast<int>(frame.strideBytes()), planes[0].data(),
                       stride, planes[1].data(), stride / 2, planes[2].data(), stride / 2, width,
                       height);
    for (int row = 0; row < height && stride > width; ++row) *at(width, row) = *at(width - 1, row);
    if (rows > height) std::copy_n(at(0, height - 1), stride, at(0, height));
  }

  [[nodiscard]] std::array<const std::uint8_t*, 3> pointers() const {
    return {planes[0].data(), planes[1].data(), planes[2].data()};
  }
  [[nodiscard]] std::array<int, 3> strides() const { return {stride, stride / 2, stride / 2}; }

 private:
  std::uint8_t* at(int x, int y) { return planes[0].data() + std::ptrdiff_t{y} * stride + x; }

  int width;
  int height;
  int stride;
  std::array<std::vector<std::uint8_t>, 3> planes;
};

}  // namespace

std::vector<std::uint8_t> encodeWithTurboJpeg(const CapturedFrame& frame, int quality) {
  const int width = static_cast<int>(frame.widthPx());
  const int height = static_cast<int>(frame.heightPx());
  const int flags = TJFLAG_ACCURATEDCT | TJFLAG_NOREALLOC;
  return turboJpegFile(width, height, [&](tjhandle compressor, auto** bytes, auto* size) {
    return tjCompress2(compressor, frame.data(), width, static_cast<int>(frame.strideBytes()),
                       height, TJPF_BGRX, bytes, size, TJSAMP_420, quality, flags);
  });
}

std::vector<std::uint8_t> encodePlanesWithTurboJpeg(const CapturedFrame& frame, int quality) {
  const int width = static_cast<int>(frame.widthPx());
  const int height = static_cast<int>(frame.heightPx());
  const Planes planes(frame);
  const int flags = TJFLAG_ACCURATEDCT | TJFLAG_NOREALLOC;
  return turboJpegFile(width, height, [&](tjhandle compressor, auto** bytes, auto* size) {
    return tjCompressFromYUVPlanes(compressor, planes.pointers().data(), width,
                                   planes.strides().data(), height, TJSAMP_420, bytes, size,
                                   quality, flags);
  });
}

std::vector<std::uint8_t> decodeWithTurboJpeg(std::span<const std::uint8_t> file) {
  const TurboJpeg decompressor(tjInitDecompress(), tjDestroy);
  int width = 0;
  int height = 0;
  int subsampling = 0;
  int colourSpace = 0;
  require(tjDecompressHeader3(decompressor.get(), file.data(), file.size(), &width, &height,
                              &subsampling, &colourSpace) == 0,
          tjGetErrorStr2(decompressor.get()));
  require(subsampling == TJSAMP_420, "colours are not at half resolution");
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) *
                                   static_cast<std::size_t>(height) * 3);
  require(tjDecompress2(decompressor.get(), file.data(), file.size(), pixels.data(), width, 0,
                        height, TJPF_RGB, TJFLAG_STOPONWARNING) == 0,
          tjGetErrorStr2(decompressor.get()));
  return pixels;
}

std::vector<std::uint8_t> decodeWithLibavcodec(std::span<const std::uint8_t> file) {
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
  require(codec != nullptr, "no decoder of JPEG");
  const std::unique_ptr<AVCodecContext, FreeContext> context(avcodec_alloc_context3(codec));
  context->thread_count = 1;
  context->err_recognition = AV_EF_EXPLODE | AV_EF_CAREFUL | AV_EF_BITSTREAM | AV_EF_BUFFER;
  require(avcodec_open2(context.get(), codec, nullptr) == 0, "the decoder does not open");

  const std::unique_ptr<AVFrame, FreeFrame> frame(av_frame_alloc());
  require(avcodec_send_packet(context.get(), AvPacket(file).get()) == 0,
          "the decoder refuses the file");
  require(avcodec_receive_frame(context.get(), frame.get()) == 0, "no frame comes out");
  require(frame->decode_error_flags == 0, "the decoder found errors");

  std::vector<std::uint8_t> planes;
  for (int plane = 0; plane < 3; ++plane) appendPlane(planes, *frame, plane);
  return planes;
}

}  // namespace quorvin
