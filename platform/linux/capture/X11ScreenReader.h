#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/capture/ScreenCapture.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// Runs of zeroed pages for frames; unmapped when the last owner lets go, on any thread. All
// throw Error when the system has no memory left.
using PixelMemory = std::shared_ptr<std::uint8_t>;

// Memory of this process alone.
[[nodiscard]] PixelMemory allocatePixelMemory(std::size_t sizeBytes);

struct SharedPixelMemory {
  PixelMemory memory;
  FileDescriptor descriptor;  // another process that maps it sees the same bytes
};
[[nodiscard]] SharedPixelMemory allocateSharedPixelMemory(std::size_t sizeBytes);

// How the X server hands over pixels, best first.
enum class X11Transport {
  descriptor,  // it writes into memory that it was given as a file descriptor
  systemV,     // it writes into a System V segment
  replies,     // it sends them, which every server can
};

// The best transport that the server really carries out for this process.
[[nodiscard]] X11Transport chooseTransport(X11Connection& connection,
                                           const X11Extensions& extensions);

// An image that the server can write into, unless the transport is `replies`. Its attachment
// refers to the connection, which must outlive it; its memory does not. Throws Error when there is
// no memory, or the server does not take it.
[[nodiscard]] PixelImage makeSharedImage(X11Connection& connection, X11Transport transport,
                                         PixelSize size);

// How the pixels of a screen lie in memory; all take 32 bits. The names say what follows from the
// highest bits to the lowest.
enum class X11PixelFormat {
  x8r8g8b8,     // what is delivered as it is
  x2r10g10b10,  // ten bits a colour, red highest
  x2b10g10r10,  // ten bits a colour, blue highest
};

// Fetches pixels of one area of the root window, the children's included. Coordinates are relative
// to that area. Used by the connection's thread; the connection must outlive it.
class X11ScreenReader {
 public:
  // Throws Error when the screen's pixels are of a kind that is not understood.
  X11ScreenReader(X11Connection& connection, X11Transport transport,
                  std::shared_ptr<CaptureCounters> counters);

  // An image that can be filled fastest; throws Error when there is no memory.
  [[nodiscard]] PixelImage makeImage(PixelSize size) const;

  void setOrigin(int x, int y);

  // Brings `region` of the image up to date, and maybe pixels beside it, in two steps: requests
  // that are sent in between cost no further round trip. The image has the area's size and must
  // stay where it is until the second, which is false when the server refused, as it does for areas
  // outside of the root window, or when the connection broke; the image's pixels are undefined
  // then.
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
