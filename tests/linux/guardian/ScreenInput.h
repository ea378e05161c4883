#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace quorvin {

// Sees what is pressed on an X server, and works its mouse and keyboard. One thread.
class ScreenInput {
 public:
  static constexpr std::chrono::milliseconds timeout = std::chrono::seconds(20);

  // Throws std::runtime_error when the display cannot be opened.
  explicit ScreenInput(const std::string& display);

  // What every program on the screen sees as pressed.
  struct Pressed {
    std::set<std::uint8_t> buttons;  // of the first five
    std::set<std::uint8_t> keys;

    friend bool operator==(const Pressed&, const Pressed&) = default;
    friend void PrintTo(const Pressed& pressed, std::ostream* out);
  };
  [[nodiscard]] Pressed pressed();
  // Whether this is what is pressed, sooner or later.
  [[nodiscard]] bool waitFor(const Pressed& expected, std::chrono::milliseconds within = timeout);

  [[nodiscard]] std::vector<xcb_keysym_t> symbolsOf(std::uint8_t key);
  // Of every key code, without those that mean nothing at the end.
  using Symbols = std::map<int, std::vector<xcb_keysym_t>>;
  [[nodiscard]] Symbols symbols();
  // The first key code whose first symbol it is, 0 without one.
  [[nodiscard]] std::uint8_t keyFor(xcb_keysym_t symbol);
  // As keyFor, of a key code that means nothing.
  [[nodiscard]] std::uint8_t keyWithoutSymbols() { return keyFor(XCB_NO_SYMBOL); }
  void bind(std::uint8_t key, xcb_keysym_t symbol);

  // Synthetic input.
  void pressButton(std::uint8_t button) { fake(XCB_BUTTON_PRESS, button); }
  void releaseButton(std::uint8_t button) { fake(XCB_BUTTON_RELEASE, button); }
  void pressKey(std::uint8_t key) { fake(XCB_KEY_PRESS, key); }
  void releaseKey(std::uint8_t key) { fake(XCB_KEY_RELEASE, key); }

  // What the person at the machine does on the keyboard of the X server's own.
  void pressKeyLocally(std::uint8_t key) { fakeLocally(localKeyPress, key); }
  void releaseKeyLocally(std::uint8_t key) { fakeLocally(localKeyRelease, key); }

  // Returns once the server has handled every request so far.
  void synchronize();
  // Returns once the server answers no more.
  void waitForSilence();
  // Sends what was asked for so far, and does not wait for more.
  void flush() { xcb_flush(connection.get()); }
  [[nodiscard]] xcb_connection_t* get() const { return connection.get(); }
  [[nodiscard]] xcb_window_t root() const;

 private:
  // From the first event number of the input extension on.
  static constexpr std::uint8_t localKeyPress = 1;
  static constexpr std::uint8_t localKeyRelease = 2;

  void fake(std::uint8_t type, std::uint8_t code);
  void fakeLocally(std::uint8_t type, std::uint8_t code);

  std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection;
};

}  // namespace quorvin
