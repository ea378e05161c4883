#include "bench/BareCapture.h"

#include <libyuv/scale_argb.h>

#include <stdexcept>

namespace quorvin {

namespace {

constexpr int quality = 72;

std::size_t bytesOf(PixelSize size) {
  return static_cast<std::size_t>(wholeOf(size).area()) * 4;
}

}  // namespace

BareCapture::BareCapture(const std::string& server, PixelSize screen, PixelSize frame)
    : connection(server),
      screen(screen),
      frame(frame),
      segment(xcb_generate_id(connection.get())),
      file(tjBufSize(frame.width, frame.height, TJSAMP_420)) {
  auto shared = allocateSharedPixelMemory(bytesOf(screen));
  fetched = shared.memory;
  scaled = screen == frame ? fetched : allocatePixelMemory(bytesOf(frame));
  xcb_shm_attach_fd(connection.get(), segment, shared.descriptor.release(), 0);
}

void BareCapture::run() {
  fetch();
  if (screen != frame) scale();
  encode();
}

void BareCapture::fetch() {
  const auto reply = x11Reply(xcb_shm_get_image_reply, connection.get(),
                              xcb_shm_get_image(connection.get(), connection.root(), 0, 0,
                                                static_cast<std::uint16_t>(screen.width),
                                                static_cast<std::uint16_t>(screen.height),
                                                0xffffffff, XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0));
  if (!reply) throw std::runtime_error("no pixels");
}

void BareCapture::scale() {
  libyuv::ARGBScale(fetched.get(), screen.width * 4, screen.width, screen.height, scaled.get(),
                    frame.width * 4, frame.width, frame.height, libyuv::kFilterBilinear);
}

void BareCapture::encode() {
  auto* bytes = file.data();
  auto size = static_cast<unsigned long>(file.size());  // NOLINT: the library's own type
  if (tjCompress2(compressor.get(), scaled.get(), frame.width, 0, frame.height, TJPF_BGRX, &bytes,
                  &size, TJSAMP_420, quality, TJFLAG_FASTDCT | TJFLAG_NOREALLOC) != 0) {
    throw std::runtime_error("not encoded");
  }
}

}  // namespace quorvin
