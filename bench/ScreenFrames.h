#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// Frames of one size that wait in an X server to be shown at one place of its screen, so that
// showing one costs no more than a copy within the server. They cover windows. One thread at a
// time.
class ScreenFrames {
 public:
  // Rows of 0xRRGGBB pixels; each frame is as large as the area.
  ScreenFrames(const std::string& server, const PixelRect& area,
               const std::vector<std::vector<std::uint32_t>>& frames);

  // Shows one of them; done when the call returns.
  void show(std::size_t index);
  // Shows the one that comes next in turn.
  void showNext() { show((shown + 1) % pixmaps.size()); }

 private:
  [[nodiscard]] xcb_pixmap_t makePixmap(const std::vector<std::uint32_t>& pixels);

  X11Connection connection;
  PixelRect area;
  xcb_gcontext_t context;
  std::vector<xcb_pixmap_t> pixmaps;
  std::size_t shown = 0;
};

}  // namespace quorvin
