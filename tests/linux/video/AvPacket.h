#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace quorvin {

// Bytes for a decoder of libavcodec, which reads a little beyond their end.
class AvPacket {
 public:
  explicit AvPacket(std::span<const std::uint8_t> bytes)
      : padded(bytes.begin(), bytes.end()), packet(av_packet_alloc()) {
    if (!packet) throw std::runtime_error("no memory for a packet");
    padded.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    packet->data = padded.data();
    packet->size = static_cast<int>(bytes.size());
  }

  [[nodiscard]] const AVPacket* get() const { return packet.get(); }

 private:
  struct Free {
    void operator()(AVPacket* owned) const { av_packet_free(&owned); }
  };

  std::vector<std::uint8_t> padded;
  std::unique_ptr<AVPacket, Free> packet;
};

}  // namespace quorvin
