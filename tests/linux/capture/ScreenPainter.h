#pragma once

#include <xcb/randr.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// A program that draws on the screen, moves the pointer and arranges monitors. What it did is
// carried out by the server when the call returns.
class ScreenPainter {
 public:
  explicit ScreenPainter(const std::string& server);

  // `pixel` as the screen's depth wants it; for depth 24 that is 0xRRGGBB.
  void fill(const PixelRect& area, std::uint32_t pixel);
  void fillAll(std::uint32_t pixel) { fill(wholeOf(screenSize()), pixel); }
  // Rows of 32-bit pixels.
  void draw(const PixelRect& area, const std::vector<std::uint32_t>& pixels);
  // Copies a part of the screen to where its upper left corner is to be, as scrolling does.
  void copy(const PixelRect& from, int x, int y);
  // What is on the screen, without the cursor; as for `draw`.
  [[nodiscard]] std::vector<std::uint32_t> read(const PixelRect& area);

  // As if a mouse had been moved there.
  void movePointer(int x, int y);
  // As programs put the pointer somewhere, which is no motion of any device.
  void warpPointer(int x, int y);
  // An opaque square of one colour (0xRRGGBB) with its hot spot at this pixel of it.
  void setCursor(int side, std::uint32_t colour, int hotSpot);

  void defineMonitor(const std::string& name, const PixelRect& area, bool isPrimary = false);
  // The identifier of such a monitor.
  [[nodiscard]] std::uint32_t monitorNamed(const std::string& name) { return atom(name); }
  void deleteMonitor(const std::string& name);

  [[nodiscard]] PixelSize screenSize() const;
  [[nodiscard]] int screenDepth() const { return connection.screen().root_depth; }

 private:
  [[nodiscard]] xcb_atom_t atom(const std::string& name);
  void sendSetMonitor(xcb_randr_monitor_info_t& monitor);
  void sync();

  X11Connection connection;
  xcb_gcontext_t context;
};

}  // namespace quorvin
