#pragma once

#include <cstddef>

#include "platform/linux/frame/PixelImage.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Extensions.h"

namespace quorvin {

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
