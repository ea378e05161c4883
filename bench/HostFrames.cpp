#include "bench/HostFrames.h"

#include <stdexcept>
#include <variant>

namespace quorvin {

namespace {

constexpr std::ptrdiff_t headBytes = 12;

Map settingsFor(const std::string& codec) {
  // Of entries that are there twice the last one counts.
  auto settings = streamSettings(1920, 1200);
  settings.append("codec", codec);
  settings.append("bitrate_mbps", 7);
  settings.append("jpeg_quality", 72);
  return settings;
}

}  // namespace

HostFrames::HostFrames(HostHarness& harness, const std::string& codec)
    : isH264(codec == "h264"), host(harness) {
  host.client->listen();
  if (!host.startCapture() ||
      host.client->call("configureStream", settingsFor(codec)) != FlutterReply(Value())) {
    throw std::runtime_error("the host does not share: " + host.process->errorOutput());
  }
}

std::optional<FrameSource::Bytes> HostFrames::next(Clock::time_point deadline) {
  while (true) {
    const auto left = std::chrono::ceil<LinkClient::Milliseconds>(deadline - Clock::now());
    const auto event = host.client->nextEvent(left);
    if (!event) return std::nullopt;
    const auto* value = std::get_if<Value>(&*event);
    const auto* data = value == nullptr ? nullptr : value->as<Data>();
    if (data == nullptr) throw std::runtime_error("the host has stopped sharing");
    const auto bytes = data->bytes();
    // A frame that was under way may still be of the codec before.
    if ((bytes[0] == 'Q') != isH264) continue;
    return Bytes(bytes.begin() + (isH264 ? headBytes : 0), bytes.end());
  }
}

}  // namespace quorvin
