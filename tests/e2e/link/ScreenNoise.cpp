#include "tests/e2e/link/ScreenNoise.h"

#include <xcb/xcb.h>

#include <chrono>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

namespace quorvin {
namespace {

constexpr auto interval = std::chrono::milliseconds(20);
constexpr std::uint16_t stripHeightPx = 16;  // a strip fits into one request of any server

using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

Connection connect(const std::string& display) {
  Connection connection(xcb_connect(display.c_str(), nullptr), &xcb_disconnect);
  if (xcb_connection_has_error(connection.get()) != 0) {
    throw std::runtime_error("cannot paint on " + display);
  }
  return connection;
}

void paint(xcb_connection_t* connection, std::minstd_rand& random) {
  const auto& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const xcb_gcontext_t context = xcb_generate_id(connection);
  const std::uint32_t overWindows = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
  xcb_create_gc(connection, context, screen.root, XCB_GC_SUBWINDOW_MODE, &overWindows);
  std::vector<std::uint32_t> pixels(std::size_t{screen.width_in_pixels} * stripHeightPx);
  for (auto& pixel : pixels) pixel = static_cast<std::uint32_t>(random());
  for (int y = 0; y < screen.height_in_pixels; y += stripHeightPx) {
    xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root, context,
                  screen.width_in_pixels, stripHeightPx, 0, static_cast<std::int16_t>(y), 0,
                  screen.root_depth, static_cast<std::uint32_t>(pixels.size() * 4),
                  reinterpret_cast<const std::uint8_t*>(pixels.data()));
  }
  xcb_free_gc(connection, context);
  // Waits until the server has painted, so that it is never flooded.
  std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

}  // namespace

ScreenNoise::ScreenNoise(const std::string& display)
    : painter([connection = connect(display)](const std::stop_token& stop) {
        std::minstd_rand random(1);
        while (!stop.stop_requested() && xcb_connection_has_error(connection.get()) == 0) {
          paint(connection.get(), random);
          std::this_thread::sleep_for(interval);
        }
      }) {}

}  // namespace quorvin
