#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Data.h"
#include "platform/Value.h"

namespace quorvin {

// The frames in which channel messages cross a stream socket between a host and a user interface
// that lives in another process. All integers are little-endian:
//
//   u32  length of what follows, linkFrameLengthMin to linkFrameLengthMax
//   u8   type
//   u32  id: of a message 0 when no reply is wanted, of a reply the message's id
//   u16  length of the channel name   } messages only
//        channel name, UTF-8          }
//        payload: the rest, the codec's bytes; an emptyReply has none

inline constexpr std::size_t linkFrameLengthMin = 5;
inline constexpr std::size_t linkFrameLengthMax = std::size_t{64} * 1024 * 1024;

// An emptyReply is the codec's null reply: nobody handles the channel or the method.
enum class LinkFrameType : std::uint8_t { message = 0, reply = 1, emptyReply = 2 };

struct LinkFrame {
  LinkFrameType type = LinkFrameType::message;
  std::uint32_t id = 0;
  std::string channel;  // of messages; empty in replies
  Data payload;

  friend bool operator==(const LinkFrame&, const LinkFrame&) = default;
};

// Bytes that are no frame, or a frame that cannot be written.
class LinkError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The frame with its length in front. Throws LinkError for a frame that a LinkFrameReader would
// refuse. Any thread.
[[nodiscard]] Bytes encodeLinkFrame(const LinkFrame& frame);

// The frame of an event: a message that wants no reply and holds the event's success envelope.
// The value is encoded straight into one buffer of the exact size, so that a captured frame's bytes
// are copied once. Throws LinkError, or CodecError for the value. Any thread.
[[nodiscard]] Bytes encodeEventLinkFrame(std::string_view channel, const Value& event);

// Cuts the frames out of a byte stream that arrives in pieces of any size. Holds no more memory
// than a small multiple of the bytes received and not yet handed out, and a few buffers for the
// next ones. One thread at a time, which is also where payloads are let go of.
class LinkFrameReader {
 public:
  void append(std::span<const std::uint8_t> bytes);

  // Where so many of the bytes that come next may be written, which is sooner done than handing
  // them over: until the next call of another member. `received` says how many were.
  [[nodiscard]] std::span<std::uint8_t> room(std::size_t size);
  void received(std::size_t size) { filled += size; }

  // The next complete frame, or nothing until more bytes come. Throws LinkError when the stream
  // breaks the format; as frame borders are lost then, every later call throws as well.
  [[nodiscard]] std::optional<LinkFrame> next();

 private:
  void replaceBuffer();
  void discardConsumed();

  std::shared_ptr<Bytes> buffer = std::make_shared<Bytes>();
  std::vector<std::shared_ptr<Bytes>> lent;  // that payloads may be in
  std::size_t filled = 0;                    // bytes of `buffer` that came
  std::size_t consumed = 0;  // of these, at the front, those that were handed out already
  std::optional<LinkError> failure;
};

}  // namespace quorvin
