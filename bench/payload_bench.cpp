// What it costs to make a payload of an encoded frame, beside one memcpy of the same bytes into
// fresh memory, which no way of handing them on can do without: the encoder takes its own back.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "Runner/QuorvinH264Encoder.h"
#include "tests/fakes/FakeVideoEncoder.h"

namespace quorvin {
namespace {

constexpr std::size_t unitCount = 4;  // slices of the frame
constexpr std::size_t lengthSize = 4;

// An encoded frame of so many bytes, its lengths included, as the Linux encoder gives it: without
// attachments, and with two parameter sets of the usual sizes.
class Frame final : public EncodedSample {
 public:
  explicit Frame(std::size_t size) {
    const std::size_t unitSize = size / unitCount - lengthSize;
    for (std::size_t unit = 0; unit < unitCount; ++unit) {
      for (const int shift : {24, 16, 8, 0}) {
        bytes.push_back(static_cast<std::uint8_t>(unitSize >> shift));
      }
      bytes.resize(bytes.size() + unitSize, 0x65);
    }
  }

  [[nodiscard]] std::optional<std::vector<EncodedSampleAttachments>> attachments() const override {
    return {};
  }
  [[nodiscard]] std::optional<std::size_t> dataLength() const override { return bytes.size(); }
  [[nodiscard]] EncoderStatus copyDataBytes(std::span<std::uint8_t> destination) const override {
    std::memcpy(destination.data(), bytes.data(), destination.size());
    return 0;
  }
  [[nodiscard]] bool hasFormatDescription() const override { return true; }
  [[nodiscard]] std::optional<std::span<const std::uint8_t>> h264ParameterSet(
      std::size_t index) const override {
    return index == 0 ? std::span<const std::uint8_t>(sequenceSet) : pictureSet;
  }

 private:
  Bytes bytes;
  Bytes sequenceSet = Bytes(24, 0x67);
  Bytes pictureSet = Bytes(5, 0x68);
};

void reportBytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

// operator new, unlike make_unique, leaves the memory as it is.
void copyFrame(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const Bytes source(size, 0x65);
  while (state.KeepRunning()) {
    const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[size]);
    std::memcpy(copy.get(), source.data(), size);
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  reportBytes(state, size);
}

// From the encoder's callback to the payload in the sink's hands.
void buildPayload(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const Frame frame(size);
  fakes::SimulatedDispatch dispatch;
  fakes::FakeVideoEncoder videoEncoder(dispatch);
  std::size_t received = 0;
  const auto encoder = std::make_shared<QuorvinH264Encoder>(
      videoEncoder, 1920, 1080, 30, 7, [&](const Data& payload) {
        benchmark::DoNotOptimize(payload.data());
        benchmark::ClobberMemory();
        received += payload.size();
      });
  while (state.KeepRunning()) encoder->compressionDidOutput(0, &frame);
  if (received <= static_cast<std::size_t>(state.iterations()) * size) {
    state.SkipWithError("a payload was lost");
  }
  reportBytes(state, size);
}

// A busy desktop at the usual bit rate, and a crisp one.
BENCHMARK(copyFrame)->ArgName("bytes")->Arg(30'000)->Arg(600'000);
BENCHMARK(buildPayload)->ArgName("bytes")->Arg(30'000)->Arg(600'000);

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
