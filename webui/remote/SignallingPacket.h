#pragma once

#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>

#include "webui/trust/Messages.h"

namespace quorvin::webui {

// What quorvin-webui and quorvin-signalling say to each other, over a pair of SOCK_SEQPACKET
// sockets: the word, the number of the place that it is about (4 bytes in the machine's order; the
// first of them chooses it), and what follows. Neither trusts the other with a length.
enum class SignallingWord : std::uint8_t {
  listen = 1,        // inbox, digits of the place (4, or none)
  leave = 2,         //
  send = 3,          // envelope for the supporter that it names
  tellPlace = 4,     // envelope for whoever listens at the place
  watch = 5,         // first half of a supporter's nonce
  reach = 6,         // back: a Reach, then a text of at most 200 bytes
  message = 7,       // envelope that came
  placeMessage = 8,  // envelope that came to the place
  gone = 9,          // first half of the nonce of the supporter who is watched
};

constexpr std::size_t envelopeHeadBytes = 2 + std::tuple_size_v<Nonce>;
constexpr std::size_t envelopeBytesMax =
    envelopeHeadBytes + SealedChannel::messageBytesMax + SealedChannel::addedBytes;
constexpr std::size_t reachDetailBytesMax = 200;
constexpr std::size_t packetHeadBytes = 1 + sizeof(std::uint32_t);
constexpr std::size_t packetBytesMax = packetHeadBytes + envelopeBytesMax;
using PacketBuffer = std::array<std::uint8_t, packetBytesMax>;

struct SignallingPacket {
  SignallingWord word;
  std::uint32_t number;
  ByteView content;  // of the buffer
};

[[nodiscard]] inline Bytes writePacket(SignallingWord word, std::uint32_t number,
                                       ByteView content) {
  std::array<std::uint8_t, packetHeadBytes> head{static_cast<std::uint8_t>(word)};
  std::memcpy(&head[1], &number, sizeof number);
  return joined({head, content});
}

// Of a received packet's bytes. `size` is its own size, which the buffer may not have had room for;
// nothing when that is so, or when it has no head.
[[nodiscard]] inline std::optional<SignallingPacket> readPacket(const PacketBuffer& buffer,
                                                                std::size_t size) {
  if (size < packetHeadBytes || size > buffer.size()) return std::nullopt;
  SignallingPacket packet{static_cast<SignallingWord>(buffer[0]), 0,
                          ByteView(buffer).first(size).subspan(packetHeadBytes)};
  std::memcpy(&packet.number, &buffer[1], sizeof packet.number);
  return packet;
}

// As recv(2) with MSG_TRUNC: the packet's own size, 0 at the end.
[[nodiscard]] inline ssize_t receivePacket(int socket, PacketBuffer& buffer, int flags = 0) {
  return ::recv(socket, buffer.data(), buffer.size(), flags | MSG_TRUNC);
}

// Nothing unless there are enough bytes.
[[nodiscard]] inline std::optional<ClientId> readClientId(ByteView bytes) {
  ClientId id{};
  if (bytes.size() < id.size()) return std::nullopt;
  std::memcpy(id.data(), bytes.data(), id.size());
  return id;
}

}  // namespace quorvin::webui
