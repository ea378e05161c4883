#include "webui/HostClient.h"

#include <optional>
#include <utility>

#include "platform/flutter/StandardMethodCodec.h"

namespace quorvin::webui {

namespace {

constexpr std::string_view hostChannel = "com.quorvin.support/host";
constexpr std::string_view framesChannel = "com.quorvin.support/frames";

FlutterReply replyFromPayload(const std::optional<Bytes>& payload) {
  if (!payload) return FlutterMethodNotImplemented{};
  try {
    auto envelope = decodeEnvelope(*payload);
    if (auto* error = std::get_if<FlutterError>(&envelope)) return std::move(*error);
    return std::get<Value>(std::move(envelope));
  } catch (const CodecError&) {
    return FlutterError{"bad_reply", "The host's answer could not be read.", {}};
  }
}

}  // namespace

HostClient::HostClient(FileDescriptor socket, Handlers givenHandlers)
    : handlers(std::move(givenHandlers)),
      link(
          std::move(socket),
          [this](std::string_view channel, const Bytes& payload) {
            handleMessage(channel, payload);
          },
          [this](const std::string& reason) { handlers.onClosed(reason); }) {}

void HostClient::call(const FlutterMethodCall& call, FlutterResult onReply) {
  invoke(hostChannel, call, std::move(onReply));
}

void HostClient::listen(std::function<void(bool)> onReply) {
  invoke(framesChannel, {"listen", {}}, [onReply = std::move(onReply)](const FlutterReply& reply) {
    onReply(std::holds_alternative<Value>(reply));
  });
}

void HostClient::cancel() {
  invoke(framesChannel, {"cancel", {}}, [](const FlutterReply&) {});
}

void HostClient::invoke(std::string_view channel, const FlutterMethodCall& call,
                        FlutterResult onReply) {
  link.request(channel, encodeMethodCall(call),
               [onReply = std::move(onReply)](const std::optional<Bytes>& payload) {
                 onReply(replyFromPayload(payload));
               });
}

// Everything else that the host sends (the window's life cycle) concerns no page.
void HostClient::handleMessage(std::string_view channel, const Bytes& payload) const {
  if (channel != framesChannel || payload.empty()) return;
  try {
    const auto event = decodeEnvelope(payload);
    if (const auto* error = std::get_if<FlutterError>(&event)) {
      handlers.onStreamError(*error);
    } else if (const auto* frame = std::get<Value>(event).as<Data>()) {
      handlers.onFrame(*frame);
    }
  } catch (const CodecError&) {
    // What this program cannot read it cannot show; the next event may be fine.
    return;
  }
}

}  // namespace quorvin::webui
