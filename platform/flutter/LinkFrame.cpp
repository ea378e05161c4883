#include "platform/flutter/LinkFrame.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/flutter/StandardCodec.h"
#include "platform/flutter/Utf8.h"

namespace quorvin {

namespace {

constexpr std::size_t lengthSize = sizeof(std::uint32_t);
constexpr std::size_t typeSize = sizeof(LinkFrameType);
constexpr std::size_t idSize = sizeof(std::uint32_t);
constexpr std::size_t channelLengthSize = sizeof(std::uint16_t);
constexpr std::size_t messageHeadSize = typeSize + idSize + channelLengthSize;

// A buffer this large is given back once its bytes have been handed out; smaller ones are kept
// for the next frame.
constexpr std::size_t keptCapacityMax = std::size_t{1} * 1024 * 1024;
// A payload this large takes its buffer along, which costs less than a copy.
constexpr std::size_t takenBytesMin = std::size_t{64} * 1024;
// One that is shown, one to compare the next with, one that waits.
constexpr std::size_t lentMax = 3;

template <typename T>
void appendNumber(Bytes& out, T value) {
  for (const auto byte : toLittleEndian(value)) out.push_back(byte);
}

std::string_view asText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void checkLength(std::size_t length) {
  if (length < linkFrameLengthMin || length > linkFrameLengthMax) {
    throw LinkError("frame length out of range: " + std::to_string(length));
  }
}

// A buffer with room for the whole frame, holding all of it up to the payload.
Bytes startFrame(LinkFrameType type, std::uint32_t id, std::string_view channel,
                 std::size_t payloadSize) {
  const bool isMessage = type == LinkFrameType::message;
  if (isMessage && !std::in_range<std::uint16_t>(channel.size())) {
    throw LinkError("channel name too long");
  }
  if (isMessage && !isUtf8(channel)) throw LinkError("channel name is not UTF-8");
  if (!isMessage && !channel.empty()) throw LinkError("reply with a channel name");

  const std::size_t headSize = isMessage ? messageHeadSize + channel.size() : typeSize + idSize;
  const std::size_t length = headSize + payloadSize;
  checkLength(length);

  Bytes out;
  out.reserve(lengthSize + length);
  appendNumber(out, static_cast<std::uint32_t>(length));
  appendNumber(out, static_cast<std::uint8_t>(type));
  appendNumber(out, id);
  if (isMessage) {
    appendNumber(out, static_cast<std::uint16_t>(channel.size()));
    out.insert(out.end(), channel.begin(), channel.end());
  }
  return out;
}

LinkFrameType checkedType(std::uint8_t type) {
  switch (static_cast<LinkFrameType>(type)) {
    case LinkFrameType::message:
    case LinkFrameType::reply:
    case LinkFrameType::emptyReply:
      return static_cast<LinkFrameType>(type);
  }
  throw LinkError("unknown frame type " + std::to_string(type));
}

// Judges as much of a frame's start as `available` holds, so that a broken frame is refused
// without waiting for (and storing) the length it claims. Returns the length once it is known.
std::optional<std::size_t> checkStart(std::span<const std::uint8_t> available) {
  if (available.size() < lengthSize) return std::nullopt;
  const std::size_t length = fromLittleEndian<std::uint32_t>(available.data());
  checkLength(length);

  const auto body = available.subspan(lengthSize);
  if (body.empty()) return length;
  const LinkFrameType type = checkedType(body.front());
  if (type == LinkFrameType::emptyReply && length != typeSize + idSize) {
    throw LinkError("empty reply with a payload");
  }
  if (type != LinkFrameType::message) return length;

  if (length < messageHeadSize) throw LinkError("message without a channel name");
  if (body.size() < messageHeadSize) return length;
  const std::size_t channelLength = fromLittleEndian<std::uint16_t>(&body[typeSize + idSize]);
  if (channelLength > length - messageHeadSize) {
    throw LinkError("channel name runs past the frame");
  }
  return length;
}

// `body` is a whole frame behind its length and has passed checkStart.
LinkFrame parseBody(const Data& body) {
  const auto bytes = body.bytes();
  LinkFrame frame;
  frame.type = checkedType(bytes.front());
  frame.id = fromLittleEndian<std::uint32_t>(&bytes[typeSize]);
  std::size_t headSize = typeSize + idSize;
  if (frame.type == LinkFrameType::message) {
    const std::size_t channelLength = fromLittleEndian<std::uint16_t>(&bytes[headSize]);
    frame.channel = asText(bytes.subspan(messageHeadSize, channelLength));
    if (!isUtf8(frame.channel)) throw LinkError("channel name is not UTF-8");
    headSize = messageHeadSize + channelLength;
  }
  frame.payload = body.slice(headSize, bytes.size() - headSize);
  return frame;
}

}  // namespace

Bytes encodeLinkFrame(const LinkFrame& frame) {
  if (frame.type == LinkFrameType::emptyReply && !frame.payload.empty()) {
    throw LinkError("empty reply with a payload");
  }
  Bytes out = startFrame(frame.type, frame.id, frame.channel, frame.payload.size());
  const auto payload = frame.payload.bytes();
  out.insert(out.end(), payload.begin(), payload.end());
  return out;
}

Bytes encodeEventLinkFrame(std::string_view channel, const Value& event) {
  const std::size_t payloadSize = measureValue(event, sizeof(successMark));
  Bytes out = startFrame(LinkFrameType::message, 0, channel, payloadSize);
  const std::size_t payloadStart = out.size();
  out.push_back(successMark);
  appendValue(event, payloadStart, out);
  return out;
}

void LinkFrameReader::append(std::span<const std::uint8_t> bytes) {
  if (failure) return;
  std::ranges::copy(bytes, room(bytes.size()).begin());
  received(bytes.size());
}

std::span<std::uint8_t> LinkFrameReader::room(std::size_t size) {
  if (buffer->size() - filled < size) {
    // As much as a vector takes when it grows by itself.
    buffer->reserve(std::max(filled + size, 2 * filled));
    buffer->resize(filled + size);
  }
  return std::span(*buffer).subspan(filled, size);
}

std::optional<LinkFrame> LinkFrameReader::next() {
  if (failure) throw LinkError(*failure);
  try {
    const auto available =
        std::span<const std::uint8_t>(*buffer).subspan(consumed, filled - consumed);
    const auto length = checkStart(available);
    if (!length || available.size() - lengthSize < *length) return std::nullopt;
    const auto body = available.subspan(lengthSize, *length);
    consumed += lengthSize + *length;
    const bool isTaken = consumed == filled && *length >= takenBytesMin;
    LinkFrame frame =
        parseBody(isTaken ? Data(buffer, body) : Data(Bytes(body.begin(), body.end())));
    if (isTaken) replaceBuffer();
    discardConsumed();
    return frame;
  } catch (const LinkError& error) {
    failure = error;
    *buffer = Bytes();
    filled = 0;
    consumed = 0;
    throw;
  }
}

// A payload has the buffer now. One that nobody holds any more serves again: fresh memory would be
// cleared first, page by page.
void LinkFrameReader::replaceBuffer() {
  filled = 0;
  consumed = 0;
  if (buffer->capacity() <= keptCapacityMax) lent.push_back(std::move(buffer));
  const auto spare =
      std::ranges::find_if(lent, [](const auto& former) { return former.use_count() == 1; });
  buffer = spare != lent.end() ? *spare : std::make_shared<Bytes>();
  if (spare != lent.end()) lent.erase(spare);
  if (lent.size() > lentMax) lent.erase(lent.begin());
}

// Moves what is left to the front, but only when that is no more than what goes: every byte
// received is thus moved once on average, however many frames come at a time.
void LinkFrameReader::discardConsumed() {
  if (consumed < filled - consumed) return;
  const auto left = std::span(*buffer).subspan(consumed, filled - consumed);
  if (buffer->capacity() > keptCapacityMax) {
    *buffer = Bytes(left.begin(), left.end());
  } else {
    std::ranges::copy(left, buffer->begin());
  }
  filled -= consumed;
  consumed = 0;
}

}  // namespace quorvin
