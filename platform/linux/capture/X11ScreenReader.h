#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/capture/CaptureSettings.h"
#include "platform/linux/capture/X11SharedMemory.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11PixelFormat.h"

namespace quorvin {

// Fetches pixels of one area of the root window, the children's included. Coordinates are relative
// to that area. Used by the connection's thread; the connection must outlive it.
class X11ScreenReader {
 public:
  // Throws Error when the screen's pixels are of a kind that is not understood.
  X11ScreenReader(X11Connection& connection, X11Transport transport,
                  std::shared_ptr<CaptureCounters> counters);

  // An image that `read` can fill fastest; throws Error when there is no memory.
  [[nodiscard]] PixelImage makeImage(PixelSize size) const;

  void setOrigin(int x, int y);

  // Brings `region` of the image up to date, and maybe pixels beside it. The image has the area's
  // size. False when the server refused, as it does for areas outside of the root window, or when
  // the connection broke; the image's pixels are undefined then.
  [[nodiscard]] bool read(const PixelRegion& region, PixelImage& target) {
    requestPixels(region, target);
    return waitForPixels();
  }
  // The same in two steps: requests that are sent in between cost no further round trip. The image
  // must stay where it is until the second.
  void requestPixels(const PixelRegion& region, PixelImage& target);
  [[nodiscard]] bool waitForPixels();

  // Fetches everything and tells which rows of the image it changed; empty when the server refused,
  // with the image's pixels undefined.
  [[nodiscard]] std::optional<RowSet> readChanges(PixelImage& target);

 private:
  struct Fetch {
    PixelRect rect;
    bool inPlace = false;       // straight into the image
    std::size_t offset = 0;     // in the image or in the scratch memory
    unsigned int sequence = 0;  // of the request
  };
  // Takes the tightly packed pixels of one rectangle.
  using Consumer = std::function<void(const PixelRect& rect, const std::uint8_t* pixels)>;

  [[nodiscard]] bool request(const PixelRegion& region, const PixelImage& target,
                             const Consumer& consume);
  [[nodiscard]] bool canReadInPlace(const PixelRect& rect, const PixelImage& target) const;
  void requestInPlace(const PixelRect& rect, const PixelImage& target);
  [[nodiscard]] bool requestInSlices(const PixelRect& rect, const Consumer& consume);
  void request(Fetch fetch, std::uint32_t segment);
  [[nodiscard]] bool finish(const Consumer& consume);
  [[nodiscard]] bool finish(const Fetch& fetch, const Consumer& consume);
  std::uint32_t scratchSegment();

  X11Connection& connection;
  X11Transport transport;
  X11PixelFormat format;
  std::shared_ptr<CaptureCounters> counters;
  int originX = 0;
  int originY = 0;
  PixelImage scratch;  // made when first needed
  std::size_t scratchUsed = 0;
  std::vector<Fetch> pending;
  Consumer convert;  // for the pixels that were requested
  bool isRequested = false;
};

}  // namespace quorvin
