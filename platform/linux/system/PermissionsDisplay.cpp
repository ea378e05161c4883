#include "platform/linux/system/PermissionsDisplay.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds none{0};
constexpr std::chrono::milliseconds patience{1000};

// A display may let clients in and still keep its screen from them (the untrusted clients of the
// SECURITY extension), so one pixel is read.
bool canRead(X11Connection& display) {
  constexpr std::uint32_t allPlanes = 0xFFFFFFFF;
  const auto request = xcb_get_image(display.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, display.root(), 0, 0,
                                     1, 1, allPlanes);
  return x11Reply(xcb_get_image_reply, display.get(), request) != nullptr;
}

bool canInject(X11Connection& display) {
  const auto* extension = xcb_get_extension_data(display.get(), &xcb_test_id);
  return extension != nullptr && extension->present != 0;
}

}  // namespace

PermissionsDisplay::PermissionsDisplay(std::string name)
    : name(std::move(name)), waitsUntil(Clock::now() + patience) {
  if (!this->name.empty()) start();
}

DisplayAccess PermissionsDisplay::access() {
  if (name.empty()) return {};
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(waitsUntil - Clock::now());
  if (!attempt->isOverWithin(std::max(none, left))) return {};
  if (isConnected()) return *answer;
  waitsUntil = {};
  start();
  return {};
}

bool PermissionsDisplay::hasAnswered() {
  return name.empty() || attempt->isOverWithin(none);
}

void PermissionsDisplay::start() {
  answer = std::make_shared<DisplayAccess>();
  attempt = std::make_unique<DisplayAttempt>(name, [answer = answer](X11Connection& display) {
    *answer = {canRead(display), canInject(display)};
    return true;
  });
}

// Reading what has arrived, without waiting, is how libxcb comes to see the end of a connection.
bool PermissionsDisplay::isConnected() {
  auto* connection = attempt->connection();
  if (connection == nullptr) return false;
  while (connection->pollEvent() != nullptr) {
  }
  return !connection->isBroken();
}

}  // namespace quorvin
