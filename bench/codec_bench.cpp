// What the codec adds to moving a frame's bytes. The floor is one memcpy into fresh memory, which
// no form of message can do without as long as the bytes have to end up behind a header.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <variant>

#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"

namespace quorvin {
namespace {

// A JPEG frame of a full-HD desktop at middling quality.
constexpr std::size_t frameSize = 200'000;

Bytes frame() {
  Bytes bytes(frameSize);
  std::uint32_t state = 1;
  for (auto& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

Value frameEvent() {
  return Map{{"bytes", Data(frame())}, {"width", 1920}, {"height", 1080}, {"scale", 1.5}};
}

void reportBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(frameSize));
}

// operator new, unlike make_unique, leaves the memory as it is.
void copyIntoFreshMemory(benchmark::State& state) {
  const Bytes source = frame();
  while (state.KeepRunning()) {
    const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[frameSize]);
    std::memcpy(copy.get(), source.data(), source.size());
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  reportBytes(state);
}
BENCHMARK(copyIntoFreshMemory);

void encodeFrameEvent(benchmark::State& state) {
  const Value event = frameEvent();
  while (state.KeepRunning()) {
    const Bytes frame = encodeEventLinkFrame("com.quorvin.support/frames", event);
    benchmark::DoNotOptimize(frame.data());
    benchmark::ClobberMemory();
  }
  reportBytes(state);
}
BENCHMARK(encodeFrameEvent);

void decodeFrameEvent(benchmark::State& state) {
  const Bytes payload = encodeSuccessEnvelope(frameEvent());
  while (state.KeepRunning()) {
    const FlutterEvent event = decodeEnvelope(payload);
    benchmark::DoNotOptimize(&event);
    benchmark::ClobberMemory();
  }
  reportBytes(state);
}
BENCHMARK(decodeFrameEvent);

// As it comes off a socket: in pieces of 64 KiB.
void readFrameFromStream(benchmark::State& state) {
  const Bytes stream = encodeEventLinkFrame("com.quorvin.support/frames", frameEvent());
  constexpr std::size_t pieceSize = std::size_t{64} * 1024;
  LinkFrameReader reader;
  while (state.KeepRunning()) {
    for (auto rest = std::span<const std::uint8_t>(stream); !rest.empty();) {
      const std::size_t size = rest.size() < pieceSize ? rest.size() : pieceSize;
      reader.append(rest.first(size));
      rest = rest.subspan(size);
    }
    const auto frame = reader.next();
    if (!frame) state.SkipWithError("no frame was read");
    benchmark::DoNotOptimize(&frame);
  }
  reportBytes(state);
}
BENCHMARK(readFrameFromStream);

}  // namespace
}  // namespace quorvin
