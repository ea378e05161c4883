#pragma once

#include <turbojpeg.h>
#include <xcb/shm.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/capture/X11ScreenReader.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// The library calls that make a JPEG file of a whole screen, with nothing around them: fetch it
// through shared memory, scale it where the frame is smaller, encode it with TurboJPEG. The
// settings of scaling and of JPEG are the host's, at quality 72. One thread at a time.
class BareCapture {
 public:
  BareCapture(const std::string& server, PixelSize screen, PixelSize frame);

  void run();

 private:
  void fetch();
  void scale();
  void encode();

  X11Connection connection;
  PixelSize screen;
  PixelSize frame;
  xcb_shm_seg_t segment;
  PixelMemory fetched;
  PixelMemory scaled;
  std::unique_ptr<void, decltype(&tjDestroy)> compressor{tjInitCompress(), &tjDestroy};
  std::vector<unsigned char> file;
};

}  // namespace quorvin
