// Calls and envelopes: whatever is read can be written again and reads the same.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>

#include "platform/Fatal.h"
#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"

using namespace quorvin;  // NOLINT: a program of one file

namespace {

void checkCall(std::span<const std::uint8_t> input) {
  std::optional<FlutterMethodCall> call;
  try {
    call = decodeMethodCall(input);
  } catch (const CodecError&) {
    return;
  }
  const Bytes written = encodeMethodCall(*call);
  const FlutterMethodCall again = decodeMethodCall(written);
  if (again.method != call->method) fatalError("a method's name changes");
  if (encodeMethodCall(again) != written) fatalError("a call changes when it is written again");
}

Bytes encodeEvent(const FlutterEvent& event) {
  if (const auto* error = std::get_if<FlutterError>(&event)) return encodeErrorEnvelope(*error);
  return encodeSuccessEnvelope(std::get<Value>(event));
}

// The short cut for events must write what the long way writes.
void checkEventFrame(const Value& event, const Bytes& envelope) {
  const Bytes frame = encodeEventLinkFrame("events", event);
  if (frame != encodeLinkFrame({LinkFrameType::message, 0, "events", Data(envelope)})) {
    fatalError("an event frame differs from the frame of its envelope");
  }
}

void checkEnvelope(std::span<const std::uint8_t> input) {
  std::optional<FlutterEvent> event;
  try {
    event = decodeEnvelope(input);
  } catch (const CodecError&) {
    return;
  }
  const Bytes written = encodeEvent(*event);
  const FlutterEvent again = decodeEnvelope(written);
  if (again.index() != event->index()) fatalError("success and error are mixed up");
  if (encodeEvent(again) != written) fatalError("an envelope changes when it is written again");
  if (const auto* value = std::get_if<Value>(&again)) checkEventFrame(*value, written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  checkCall({data, size});
  checkEnvelope({data, size});
  return 0;
}
