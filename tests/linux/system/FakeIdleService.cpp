#include "tests/linux/system/FakeIdleService.h"

#include <stdexcept>
#include <string_view>
#include <utility>

namespace quorvin {
namespace {

GVariant* require(GVariant* answer) {
  if (answer == nullptr) throw std::runtime_error("the bus refused a call");
  return answer;
}

GVariant* callBus(const BusConnection& connection, const char* method, GVariant* arguments) {
  return require(g_dbus_connection_call_sync(
      connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

}  // namespace

BusConnection joinBus(const SessionBus& bus) {
  BusConnection connection(g_dbus_connection_new_for_address_sync(
      bus.address().c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr));
  if (connection == nullptr) throw std::runtime_error("no bus");
  return connection;
}

std::vector<std::string> namesOnBus(const BusConnection& connection) {
  GVariant* answer = callBus(connection, "ListNames", nullptr);
  GVariantIter* names = nullptr;
  g_variant_get(answer, "(as)", &names);
  std::vector<std::string> list;
  const char* name = nullptr;
  while (g_variant_iter_next(names, "&s", &name) != FALSE) list.emplace_back(name);
  g_variant_iter_free(names);
  g_variant_unref(answer);
  return list;
}

FakeIdleService::FakeIdleService(const SessionBus& bus, const std::string& name,
                                 const std::string& path, const std::string& introspection)
    : connection(joinBus(bus)) {
  static constexpr GDBusInterfaceVTable functions{&onCall, nullptr, nullptr, {}};
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(introspection.c_str(), nullptr);
  if (node == nullptr) throw std::runtime_error("bad introspection data");
  registration = g_dbus_connection_register_object(
      connection.get(), path.c_str(), node->interfaces[0], &functions, this, nullptr, nullptr);
  g_dbus_node_info_unref(node);
  constexpr guint32 plainly = 0;
  g_variant_unref(callBus(connection, "RequestName", g_variant_new("(su)", name.c_str(), plainly)));
}

FakeIdleService::~FakeIdleService() {
  answerAll();
  g_dbus_connection_unregister_object(connection.get(), registration);
}

void FakeIdleService::onCall(GDBusConnection* /*connection*/, const char* /*sender*/,
                             const char* /*path*/, const char* /*interface*/, const char* method,
                             GVariant* arguments, GDBusMethodInvocation* invocation,
                             gpointer self) {
  auto& service = *static_cast<FakeIdleService*>(self);
  char* text = g_variant_print(arguments, FALSE);
  service.received.push_back({method, text});
  g_free(text);
  if (service.isHolding) {
    service.held.push_back(invocation);
  } else {
    service.answer(invocation);
  }
}

void FakeIdleService::answer(GDBusMethodInvocation* invocation) {
  const bool begins =
      std::string_view(g_dbus_method_invocation_get_method_name(invocation)) == "Inhibit";
  g_dbus_method_invocation_return_value(invocation,
                                        begins ? g_variant_new("(u)", nextCookie++) : nullptr);
}

void FakeIdleService::answerAll() {
  isHolding = false;
  for (auto* invocation : std::exchange(held, {})) answer(invocation);
}

}  // namespace quorvin
