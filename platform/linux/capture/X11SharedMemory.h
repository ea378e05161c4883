#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Server.h"
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

}  // namespace quorvin
