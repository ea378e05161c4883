// A window that says what reaches it: one JSON object a line on standard output for each event of
// mouse and keyboard, as any X program would understand it. "held" on standard input asks what is
// down on the X server.
//
// Usage: input_window X Y WIDTH HEIGHT, the window's place on the screen in pixels.

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

struct CloseDisplay {
  void operator()(Display* display) const { XCloseDisplay(display); }
};

class InputWindow {
 public:
  InputWindow(int x, int y, unsigned width, unsigned height) : display(XOpenDisplay(nullptr)) {
    if (display == nullptr) throw std::string("there is no display");
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.background_pixel = WhitePixel(display.get(), DefaultScreen(display.get()));
    attributes.event_mask = ButtonPressMask | ButtonReleaseMask | PointerMotionMask | KeyPressMask |
                            KeyReleaseMask | VisibilityChangeMask;
    window = XCreateWindow(display.get(), DefaultRootWindow(display.get()), x, y, width, height, 0,
                           CopyFromParent, InputOutput, nullptr,
                           CWOverrideRedirect | CWBackPixel | CWEventMask, &attributes);
    // The server's own repeats depend on how quickly this machine is.
    XAutoRepeatOff(display.get());
    XMapRaised(display.get(), window);
  }

  void run() {
    std::array<pollfd, 2> sources{
        {{ConnectionNumber(display.get()), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
    for (;;) {
      while (XPending(display.get()) > 0) handleNext();
      std::fflush(stdout);
      if (poll(sources.data(), sources.size(), -1) < 0) return;
      if (sources[1].revents != 0 && !answer()) return;
    }
  }

 private:
  void handleNext() {
    XEvent event;
    XNextEvent(display.get(), &event);
    if (event.type == VisibilityNotify) see(event.xvisibility);
    if (event.type == MotionNotify) sayMotion(event.xmotion);
    if (event.type == ButtonPress || event.type == ButtonRelease) sayButton(event.xbutton);
    if (event.type == KeyPress || event.type == KeyRelease) sayKey(event.xkey);
  }

  // Only a window that is on the screen can have the focus, and other programs may show theirs
  // late.
  void see(const XVisibilityEvent& event) {
    if (event.state != VisibilityUnobscured) {
      XRaiseWindow(display.get(), window);
    } else if (!begun) {
      begun = true;
      XSetInputFocus(display.get(), window, RevertToPointerRoot, CurrentTime);
      XSync(display.get(), False);
      std::puts(R"({"type":"ready"})");
    }
  }

  static void sayMotion(const XMotionEvent& event) {
    std::printf(R"({"type":"motion","x":%d,"y":%d,"state":%u})"
                "\n",
                event.x_root, event.y_root, event.state);
  }

  static void sayButton(const XButtonEvent& event) {
    std::printf(R"({"type":"%s","button":%u,"x":%d,"y":%d,"state":%u})"
                "\n",
                event.type == ButtonPress ? "buttonDown" : "buttonUp", event.button, event.x_root,
                event.y_root, event.state);
  }

  static void sayKey(XKeyEvent& event) {
    std::array<char, 16> text{};
    KeySym symbol = NoSymbol;
    const int size = XLookupString(&event, text.data(), text.size(), &symbol, nullptr);
    const char* name = XKeysymToString(symbol);
    std::string hex;
    for (int index = 0; index < size; ++index) {
      std::array<char, 3> digits{};
      std::snprintf(digits.data(), digits.size(), "%02x",
                    static_cast<unsigned char>(text[static_cast<std::size_t>(index)]));
      hex += digits.data();
    }
    std::printf(R"({"type":"%s","keycode":%u,"symbol":"%s","latin1Hex":"%s","state":%u})"
                "\n",
                event.type == KeyPress ? "keyDown" : "keyUp", event.keycode,
                name == nullptr ? "" : name, hex.c_str(), event.state);
  }

  // Answers whatever was asked. False when nobody can ask any more.
  bool answer() {
    std::array<char, 256> question{};
    if (read(STDIN_FILENO, question.data(), question.size()) <= 0) return false;
    std::array<char, 32> keymap{};
    XQueryKeymap(display.get(), keymap.data());
    std::string keys;
    for (unsigned code = 0; code < 256; ++code) {
      const auto bits = static_cast<unsigned>(static_cast<unsigned char>(keymap[code / 8]));
      if ((bits >> (code % 8) & 1U) == 0) continue;
      if (!keys.empty()) keys += ",";
      keys += std::to_string(code);
    }
    Window root = None;
    Window child = None;
    int x = 0;
    int y = 0;
    int inWindowX = 0;
    int inWindowY = 0;
    unsigned mask = 0;
    XQueryPointer(display.get(), window, &root, &child, &x, &y, &inWindowX, &inWindowY, &mask);
    // What led there is told first.
    while (XPending(display.get()) > 0) handleNext();
    std::printf(R"({"type":"held","keys":[%s],"mask":%u,"x":%d,"y":%d})"
                "\n",
                keys.c_str(), mask, x, y);
    return true;
  }

  std::unique_ptr<Display, CloseDisplay> display;
  Window window = None;
  bool begun = false;
};

unsigned numberOf(const char* text) {
  return static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 5) {
    std::fputs("usage: input_window X Y WIDTH HEIGHT\n", stderr);
    return 2;
  }
  try {
    InputWindow(static_cast<int>(numberOf(arguments[1])), static_cast<int>(numberOf(arguments[2])),
                numberOf(arguments[3]), numberOf(arguments[4]))
        .run();
  } catch (const std::string& problem) {
    std::fprintf(stderr, "input_window: %s\n", problem.c_str());
    return 1;
  }
  return 0;
}
