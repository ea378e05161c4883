#include "platform/linux/capture/X11ScreenReader.h"

#include <xcb/shm.h>

#include <algorithm>
#include <cstring>

namespace quorvin {

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
