#include "webui/MessageBounds.h"

namespace quorvin::webui {

namespace {

// See RFC 6455, section 5.2.
constexpr unsigned opcodeMask = 0x0F;
constexpr unsigned controlBit = 0x08;

struct BoundsExtension {
  SoupWebsocketExtension parent;
  MessageBounds bounds;
  std::size_t messageBytes;
  std::size_t frames;
};

GBytes* refuse(GBytes* payload, GError** error, SoupWebsocketCloseCode code, const char* why) {
  g_bytes_unref(payload);
  g_set_error_literal(error, SOUP_WEBSOCKET_ERROR, code, why);
  return nullptr;
}

GBytes* checkFrame(SoupWebsocketExtension* extension, guint8* header, GBytes* payload,
                   GError** error) {
  auto& page = *reinterpret_cast<BoundsExtension*>(extension);
  if (++page.frames > page.bounds.framesMax) {
    return refuse(payload, error, SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION, "too many messages");
  }
  const unsigned opcode = *header & opcodeMask;
  if ((opcode & controlBit) != 0) return payload;
  if (opcode != 0) page.messageBytes = 0;
  page.messageBytes += g_bytes_get_size(payload);
  if (page.messageBytes > page.bounds.messageBytesMax) {
    return refuse(payload, error, SOUP_WEBSOCKET_CLOSE_TOO_BIG, "the message is too long");
  }
  return payload;
}

void initialise(gpointer type, gpointer /*data*/) {
  auto* extension = static_cast<SoupWebsocketExtensionClass*>(type);
  extension->name = "quorvin-bounds";
  extension->process_incoming_message = checkFrame;
}

GType typeOfBounds() {
  static const GType type = g_type_register_static_simple(
      SOUP_TYPE_WEBSOCKET_EXTENSION, "QuorvinMessageBounds", sizeof(SoupWebsocketExtensionClass),
      initialise, sizeof(BoundsExtension), nullptr, G_TYPE_FLAG_NONE);
  return type;
}

}  // namespace

SoupWebsocketExtension* makeBoundsExtension(const MessageBounds& bounds) {
  auto* extension = static_cast<BoundsExtension*>(g_object_new(typeOfBounds(), nullptr));
  extension->bounds = bounds;
  return &extension->parent;
}

void forgetFrames(SoupWebsocketConnection* socket) {
  auto* extension = soup_websocket_connection_get_extensions(socket)->data;
  static_cast<BoundsExtension*>(extension)->frames = 0;
}

}  // namespace quorvin::webui
