#include "platform/linux/capture/X11ScreenReader.h"

#include <libyuv/convert_argb.h>
#include <libyuv/planar_functions.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xcb/shm.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

// --- The memory that pixels are read into

namespace {

Error outOfMemory() {
  return x11Error(X11ErrorCode::noResources,
                  "The system has no memory left for the pictures of the screen.");
}

PixelMemory map(std::size_t sizeBytes, int flags, int descriptor) {
  void* pages = mmap(nullptr, sizeBytes, PROT_READ | PROT_WRITE, flags, descriptor, 0);
  if (pages == MAP_FAILED) throw outOfMemory();
  return {static_cast<std::uint8_t*>(pages), [sizeBytes](std::uint8_t* mapped) {
            munmap(mapped, sizeBytes);
          }};
}

// A System V segment, which goes away by itself once everybody has detached from it.
class SystemVPixelMemory {
 public:
  explicit SystemVPixelMemory(std::size_t sizeBytes)
      : id(shmget(IPC_PRIVATE, sizeBytes, IPC_CREAT | S_IRUSR | S_IWUSR)) {
    if (id < 0) throw outOfMemory();
    void* attached = shmat(id, nullptr, 0);
    if (attached == reinterpret_cast<void*>(-1)) {  // NOLINT(performance-no-int-to-ptr)
      shmctl(id, IPC_RMID, nullptr);
      throw outOfMemory();
    }
    pages = PixelMemory(static_cast<std::uint8_t*>(attached),
                        [](std::uint8_t* address) { shmdt(address); });
  }
  SystemVPixelMemory(const SystemVPixelMemory&) = delete;
  SystemVPixelMemory& operator=(const SystemVPixelMemory&) = delete;
  // Forbids further attaching by marking the segment for removal.
  ~SystemVPixelMemory() { shmctl(id, IPC_RMID, nullptr); }

  [[nodiscard]] std::uint32_t identifier() const { return static_cast<std::uint32_t>(id); }
  [[nodiscard]] const PixelMemory& memory() const { return pages; }

 private:
  int id;
  PixelMemory pages;
};

constexpr std::uint8_t writable = 0;

void attach(X11Connection& connection, PixelImage& image, xcb_void_cookie_t request,
            xcb_shm_seg_t segment) {
  if (!connection.succeeded(request)) {
    throw x11Error(X11ErrorCode::noResources,
                   "The X server does not share memory with this program.");
  }
  image.segment = segment;
  image.attachment = std::shared_ptr<const void>(
      &connection, [segment](X11Connection* server) { xcb_shm_detach(server->get(), segment); });
}

void shareByDescriptor(X11Connection& connection, PixelImage& image, std::size_t sizeBytes) {
  SharedPixelMemory shared = allocateSharedPixelMemory(sizeBytes);
  image.memory = std::move(shared.memory);
  const xcb_shm_seg_t segment = xcb_generate_id(connection.get());
  // libxcb closes the descriptor once it has been sent.
  attach(
      connection, image,
      xcb_shm_attach_fd_checked(connection.get(), segment, shared.descriptor.release(), writable),
      segment);
}

void shareBySystemV(X11Connection& connection, PixelImage& image, std::size_t sizeBytes) {
  const SystemVPixelMemory shared(sizeBytes);
  image.memory = shared.memory();
  const xcb_shm_seg_t segment = xcb_generate_id(connection.get());
  attach(connection, image,
         xcb_shm_attach_checked(connection.get(), segment, shared.identifier(), writable), segment);
}

bool works(X11Connection& connection, X11Transport transport) {
  try {
    [[maybe_unused]] const PixelImage trial = makeSharedImage(connection, transport, {16, 16});
    return true;
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

PixelMemory allocatePixelMemory(std::size_t sizeBytes) {
  return map(sizeBytes, MAP_PRIVATE | MAP_ANONYMOUS, -1);
}

SharedPixelMemory allocateSharedPixelMemory(std::size_t sizeBytes) {
  FileDescriptor descriptor(memfd_create("screen-pixels", MFD_CLOEXEC));
  if (!descriptor.isOpen() || ftruncate(descriptor.get(), static_cast<off_t>(sizeBytes)) != 0) {
    throw outOfMemory();
  }
  PixelMemory memory = map(sizeBytes, MAP_SHARED, descriptor.get());
  return {std::move(memory), std::move(descriptor)};
}

X11Transport chooseTransport(X11Connection& connection, const X11Extensions& extensions) {
  // A segment number means something else, or nothing, to a server on another machine.
  if (!extensions.sharedMemory || !connection.isLocal()) return X11Transport::replies;
  if (extensions.sharedMemoryByDescriptor && works(connection, X11Transport::descriptor)) {
    return X11Transport::descriptor;
  }
  return works(connection, X11Transport::systemV) ? X11Transport::systemV : X11Transport::replies;
}

PixelImage makeSharedImage(X11Connection& connection, X11Transport transport, PixelSize size) {
  PixelImage image;
  image.size = size;
  const std::size_t sizeBytes = image.offsetBytes(0, size.height);
  switch (transport) {
    case X11Transport::descriptor:
      shareByDescriptor(connection, image, sizeBytes);
      break;
    case X11Transport::systemV:
      shareBySystemV(connection, image, sizeBytes);
      break;
    case X11Transport::replies:
      image.memory = allocatePixelMemory(sizeBytes);
      break;
  }
  return image;
}

// --- Reading

namespace {

// Pixels that do not go in place pass through here; small enough to stay in the processor's cache,
// wide enough for a row of any root window.
constexpr PixelSize scratchSize{1024, 1024};
constexpr std::size_t scratchBytes =
    static_cast<std::size_t>(scratchSize.width) * scratchSize.height * bytesPerPixel;

constexpr std::uint32_t allPlanes = 0xffffffff;

std::size_t bytesOf(const PixelRect& rect) {
  return static_cast<std::size_t>(rect.area()) * bytesPerPixel;
}

std::size_t rowBytes(const PixelRect& rect) {
  return static_cast<std::size_t>(rect.width) * bytesPerPixel;
}

const xcb_visualtype_t* findVisual(const xcb_screen_t& screen, xcb_visualid_t id) {
  auto depths = xcb_screen_allowed_depths_iterator(&screen);
  for (; depths.rem > 0; xcb_depth_next(&depths)) {
    auto visuals = xcb_depth_visuals_iterator(depths.data);
    for (; visuals.rem > 0; xcb_visualtype_next(&visuals)) {
      if (visuals.data->visual_id == id) return visuals.data;
    }
  }
  return nullptr;
}

// Zero when the server has no format of that depth.
int bitsPerPixel(const xcb_setup_t& setup, int depth) {
  auto formats = xcb_setup_pixmap_formats_iterator(&setup);
  for (; formats.rem > 0; xcb_format_next(&formats)) {
    if (formats.data->depth == depth) return formats.data->bits_per_pixel;
  }
  return 0;
}

bool hasNativeByteOrder(const xcb_setup_t& setup) {
  return std::endian::native == std::endian::little &&
         setup.image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
}

bool hasMasks(const xcb_visualtype_t& visual, std::uint32_t red, std::uint32_t green,
              std::uint32_t blue) {
  return visual.red_mask == red && visual.green_mask == green && visual.blue_mask == blue;
}

std::optional<X11PixelFormat> formatOf(int depth, const xcb_visualtype_t& visual) {
  if (depth == 24 && hasMasks(visual, 0xff0000, 0xff00, 0xff)) return X11PixelFormat::x8r8g8b8;
  if (depth == 30 && hasMasks(visual, 0x3ff00000, 0xffc00, 0x3ff)) {
    return X11PixelFormat::x2r10g10b10;
  }
  if (depth == 30 && hasMasks(visual, 0x3ff, 0xffc00, 0x3ff00000)) {
    return X11PixelFormat::x2b10g10r10;
  }
  return {};
}

// Throws Error when the root window's pixels are of a kind that is not understood.
X11PixelFormat rootPixelFormat(X11Connection& connection) {
  const xcb_setup_t& setup = *xcb_get_setup(connection.get());
  const xcb_screen_t& screen = connection.screen();
  const auto* visual = findVisual(screen, screen.root_visual);
  std::optional<X11PixelFormat> format;
  if (visual != nullptr && hasNativeByteOrder(setup) &&
      bitsPerPixel(setup, screen.root_depth) == 32) {
    format = formatOf(screen.root_depth, *visual);
  }
  if (!format) {
    throw x11Error(X11ErrorCode::unsupportedScreen,
                   "The screen cannot be captured: its pixels have a depth of " +
                       std::to_string(screen.root_depth) +
                       " bits or an order of colours that is not supported. Use a "
                       "screen of depth 24 or 30.");
  }
  return *format;
}

// Writes `width` by `height` pixels with 8 bits a colour, blue first. Strides are in bytes. The
// areas must not overlap.
void convertPixels(X11PixelFormat format, const std::uint8_t* source, std::size_t sourceStride,
                   std::uint8_t* target, std::size_t targetStride, int width, int height) {
  const int from = static_cast<int>(sourceStride);
  const int to = static_cast<int>(targetStride);
  switch (format) {
    case X11PixelFormat::x8r8g8b8:
      libyuv::ARGBCopy(source, from, target, to, width, height);
      break;
    case X11PixelFormat::x2r10g10b10:
      libyuv::AR30ToARGB(source, from, target, to, width, height);
      break;
    case X11PixelFormat::x2b10g10r10:
      libyuv::AB30ToARGB(source, from, target, to, width, height);
      break;
  }
}

}  // namespace

X11ScreenReader::X11ScreenReader(X11Connection& connection, X11Transport transport,
                                 std::shared_ptr<CaptureCounters> counters)
    : connection(connection),
      transport(transport),
      format(rootPixelFormat(connection)),
      counters(std::move(counters)) {}

PixelImage X11ScreenReader::makeImage(PixelSize size) const {
  // The server writes straight into an image only if there is nothing to convert.
  const bool direct = format == X11PixelFormat::x8r8g8b8;
  return makeSharedImage(connection, direct ? transport : X11Transport::replies, size);
}

void X11ScreenReader::setOrigin(int x, int y) {
  originX = x;
  originY = y;
}

void X11ScreenReader::requestPixels(const PixelRegion& region, PixelImage& target) {
  convert = [this, &target](const PixelRect& rect, const std::uint8_t* pixels) {
    convertPixels(format, pixels, rowBytes(rect), target.at(rect.x, rect.y), target.strideBytes(),
                  rect.width, rect.height);
  };
  isRequested = request(region, target, convert);
}

bool X11ScreenReader::waitForPixels() {
  return finish(convert) && isRequested;
}

std::optional<RowSet> X11ScreenReader::readChanges(PixelImage& target) {
  RowSet changes;
  std::vector<std::uint8_t> converted(target.strideBytes());
  const Consumer compare = [&](const PixelRect& rect, const std::uint8_t* pixels) {
    for (int row = rect.y; row < rect.bottom(); ++row, pixels += rowBytes(rect)) {
      convertPixels(format, pixels, rowBytes(rect), converted.data(), rowBytes(rect), rect.width,
                    1);
      std::uint8_t* known = target.at(rect.x, row);
      if (std::memcmp(known, converted.data(), rowBytes(rect)) == 0) continue;
      std::memcpy(known, converted.data(), rowBytes(rect));
      changes.add({row, row + 1});
    }
  };
  if (!requestInSlices(wholeOf(target.size), compare) || !finish(compare)) return {};
  return changes;
}

bool X11ScreenReader::request(const PixelRegion& region, const PixelImage& target,
                              const Consumer& consume) {
  for (const PixelRect& wanted : region.rects()) {
    const PixelRect rect = intersectionOf(wanted, wholeOf(target.size));
    if (rect.isEmpty()) continue;
    if (canReadInPlace(rect, target)) {
      requestInPlace(rect, target);
    } else if (!requestInSlices(rect, consume)) {
      return false;
    }
  }
  return true;
}

bool X11ScreenReader::canReadInPlace(const PixelRect& rect, const PixelImage& target) const {
  // The server packs rows tightly, so only full rows land where they belong. Fetching full rows
  // for the sake of half of them is still cheaper than copying.
  return target.segment != 0 && format == X11PixelFormat::x8r8g8b8 &&
         rect.width * 2 >= target.size.width;
}

void X11ScreenReader::requestInPlace(const PixelRect& rect, const PixelImage& target) {
  const PixelRect rows{0, rect.y, target.size.width, rect.height};
  request({rows, true, target.offsetBytes(0, rect.y)}, target.segment);
}

bool X11ScreenReader::requestInSlices(const PixelRect& rect, const Consumer& consume) {
  const int rowsAtOnce = static_cast<int>(scratchBytes / rowBytes(rect));
  for (int top = rect.y; top < rect.bottom(); top += rowsAtOnce) {
    const PixelRect slice{rect.x, top, rect.width, std::min(rowsAtOnce, rect.bottom() - top)};
    if (scratchUsed + bytesOf(slice) > scratchBytes && !finish(consume)) return false;
    request({slice, false, scratchUsed}, scratchSegment());
    scratchUsed += bytesOf(slice);
  }
  return true;
}

void X11ScreenReader::request(Fetch fetch, std::uint32_t segment) {
  const auto x = static_cast<std::int16_t>(originX + fetch.rect.x);
  const auto y = static_cast<std::int16_t>(originY + fetch.rect.y);
  const auto width = static_cast<std::uint16_t>(fetch.rect.width);
  const auto height = static_cast<std::uint16_t>(fetch.rect.height);
  if (segment != 0) {
    fetch.sequence = xcb_shm_get_image(connection.get(), connection.root(), x, y, width, height,
                                       allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, segment,
                                       static_cast<std::uint32_t>(fetch.offset))
                         .sequence;
  } else {
    fetch.sequence = xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(),
                                   x, y, width, height, allPlanes)
                         .sequence;
  }
  counters->fetchedBytes += bytesOf(fetch.rect);
  pending.push_back(fetch);
}

bool X11ScreenReader::finish(const Consumer& consume) {
  bool complete = true;
  // Every reply is taken even after a failure, or it would stay in the connection for good.
  for (const Fetch& fetch : pending) complete = finish(fetch, consume) && complete;
  pending.clear();
  scratchUsed = 0;
  return complete;
}

bool X11ScreenReader::finish(const Fetch& fetch, const Consumer& consume) {
  if (transport == X11Transport::replies) {
    const auto reply =
        x11Reply(xcb_get_image_reply, connection.get(), xcb_get_image_cookie_t{fetch.sequence});
    if (!reply) return false;
    if (static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < bytesOf(fetch.rect)) {
      return false;
    }
    consume(fetch.rect, xcb_get_image_data(reply.get()));
    return true;
  }
  const auto reply = x11Reply(xcb_shm_get_image_reply, connection.get(),
                              xcb_shm_get_image_cookie_t{fetch.sequence});
  if (!reply) return false;
  if (!fetch.inPlace) consume(fetch.rect, scratch.memory.get() + fetch.offset);
  return true;
}

std::uint32_t X11ScreenReader::scratchSegment() {
  if (transport == X11Transport::replies) return 0;
  if (!scratch.memory) scratch = makeSharedImage(connection, transport, scratchSize);
  return scratch.segment;
}

}  // namespace quorvin
