#include "platform/linux/input/KeyboardDevices.h"

#include <xcb/xinput.h>

#include <string_view>

namespace quorvin {

namespace {

// Set on the devices of XTEST and on no others (XI_PROP_XTEST_DEVICE, xserver-properties.h).
xcb_atom_t markOfXTest(X11Connection& connection) {
  constexpr std::string_view name = "XTEST Device";
  const auto reply = x11Reply(
      xcb_intern_atom_reply, connection.get(),
      xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(name.size()), name.data()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool hasProperty(X11Connection& connection, std::uint16_t device, xcb_atom_t property) {
  const auto reply = x11Reply(
      xcb_input_xi_get_property_reply, connection.get(),
      xcb_input_xi_get_property(connection.get(), device, 0, property, XCB_ATOM_ANY, 0, 1));
  return reply && reply->type != XCB_ATOM_NONE;
}

// The keyboard that the master's keys are taken from at the moment.
std::uint16_t sourceOfKeys(const xcb_input_xi_device_info_t& master) {
  auto classes = xcb_input_xi_device_info_classes_iterator(&master);
  for (; classes.rem > 0; xcb_input_device_class_next(&classes)) {
    if (classes.data->type == XCB_INPUT_DEVICE_CLASS_TYPE_KEY) return classes.data->sourceid;
  }
  return 0;
}

void note(const xcb_input_xi_device_info_t& device, bool isOfXTest, KeyboardDevices& devices,
          std::uint16_t& source) {
  if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && devices.core == 0) {
    devices.core = device.deviceid;
    source = sourceOfKeys(device);
  } else if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD &&
             device.attachment == devices.core) {
    (isOfXTest ? devices.injecting : devices.local) = device.deviceid;
  }
}

}  // namespace

std::optional<KeyboardDevices> KeyboardDevices::find(X11Connection& connection) {
  constexpr std::uint16_t allDevices = 0;
  const auto reply = x11Reply(xcb_input_xi_query_device_reply, connection.get(),
                              xcb_input_xi_query_device(connection.get(), allDevices));
  const xcb_atom_t mark = markOfXTest(connection);
  if (!reply || mark == XCB_ATOM_NONE) return {};
  KeyboardDevices devices;
  std::uint16_t source = 0;
  auto each = xcb_input_xi_query_device_infos_iterator(reply.get());
  for (; each.rem > 0; xcb_input_xi_device_info_next(&each)) {
    note(*each.data, hasProperty(connection, each.data->deviceid, mark), devices, source);
  }
  if (devices.injecting == 0) return {};
  devices.injectedLast = source == devices.injecting;
  return devices;
}

}  // namespace quorvin
