#include "tests/e2e/link/OtherWindow.h"

#include <array>

namespace quorvin {
namespace {

constexpr std::uint16_t cornerSidePx = 40;

}  // namespace

OtherWindow::OtherWindow(const std::string& display, Kind kind)
    : connection(display), window(xcb_generate_id(connection.get())) {
  const auto& screen = connection.screen();
  const bool isCurtain = kind == Kind::curtain;
  const std::array<std::uint32_t, 2> values{screen.white_pixel / 2, isCurtain ? 1U : 0U};
  xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen.root, 0, 0,
                    isCurtain ? screen.width_in_pixels : cornerSidePx,
                    isCurtain ? screen.height_in_pixels : cornerSidePx, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
  if (kind == Kind::fullScreen) askForFullScreen();
  xcb_map_window(connection.get(), window);
  connection.synchronize();
}

// Before the window is mapped, its state is a wish of its own.
void OtherWindow::askForFullScreen() const {
  const auto state = connection.atom("_NET_WM_STATE_FULLSCREEN");
  xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window,
                      connection.atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 1, &state);
}

}  // namespace quorvin
