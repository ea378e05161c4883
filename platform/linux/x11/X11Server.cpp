#include "platform/linux/x11/X11Server.h"

#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <utility>

namespace quorvin {

namespace {

using Version = std::pair<std::uint32_t, std::uint32_t>;

const xcb_query_extension_reply_t* find(xcb_connection_t* connection, xcb_extension_t& extension) {
  const auto* data = xcb_get_extension_data(connection, &extension);
  return data != nullptr && data->present != 0 ? data : nullptr;
}

// The first event of an extension whose QueryVersion reply names at least `required`.
template <typename Reply>
std::optional<X11Extensions::Events> eventsFrom(const xcb_query_extension_reply_t* extension,
                                                const X11Owned<Reply>& version, Version required) {
  if (!version || Version(version->major_version, version->minor_version) < required) return {};
  return X11Extensions::Events{extension->first_event};
}

void negotiateSharedMemory(xcb_connection_t* connection, X11Extensions& extensions) {
  if (find(connection, xcb_shm_id) == nullptr) return;
  const auto version =
      x11Reply(xcb_shm_query_version_reply, connection, xcb_shm_query_version(connection));
  if (!version) return;
  extensions.sharedMemory = true;
  extensions.sharedMemoryByDescriptor =
      Version(version->major_version, version->minor_version) >= Version(1, 2);
}

std::optional<X11Extensions::Events> negotiateFixes(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_xfixes_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_xfixes_query_version_reply, connection,
                                xcb_xfixes_query_version(connection, 2, 0));
  return eventsFrom(extension, version, {2, 0});
}

std::optional<X11Extensions::Events> negotiateDamage(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_damage_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_damage_query_version_reply, connection,
                                xcb_damage_query_version(connection, 1, 1));
  return eventsFrom(extension, version, {1, 1});
}

std::optional<X11Extensions::Events> negotiateRandr(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_randr_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_randr_query_version_reply, connection,
                                xcb_randr_query_version(connection, 1, 5));
  return eventsFrom(extension, version, {1, 5});
}

std::optional<X11Extensions::Requests> negotiateInput(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_input_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_input_xi_query_version_reply, connection,
                                xcb_input_xi_query_version(connection, 2, 1));
  if (!version || Version(version->major_version, version->minor_version) < Version(2, 1)) {
    return {};
  }
  return X11Extensions::Requests{extension->major_opcode};
}

}  // namespace

X11Extensions X11Extensions::negotiate(X11Connection& connection) {
  X11Extensions extensions;
  negotiateSharedMemory(connection.get(), extensions);
  extensions.fixes = negotiateFixes(connection.get());
  if (extensions.fixes) extensions.damage = negotiateDamage(connection.get());
  extensions.randr = negotiateRandr(connection.get());
  extensions.input = negotiateInput(connection.get());
  return extensions;
}

std::optional<X11Server> X11SpareServer::take() {
  const MutexLock lock(mutex);
  auto taken = std::exchange(server, {});
  if (!taken) return {};
  // libxcb sees the end of a connection when it reads from it.
  while (taken->connection.pollEvent() != nullptr) {
  }
  if (taken->connection.isBroken()) return {};
  return taken;
}

}  // namespace quorvin
