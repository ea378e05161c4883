// Any bytes taken for the units of a frame make the payload that a plain reading of them makes,
// or none.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "Runner/H264Payload.h"
#include "platform/Fatal.h"

using namespace quorvin;  // NOLINT: a program of one file

namespace {

constexpr std::int64_t width = 1920;
constexpr std::int64_t height = 1080;

void appendUnit(Bytes& stream, std::span<const std::uint8_t> unit) {
  for (const int byte : {0, 0, 0, 1}) stream.push_back(static_cast<std::uint8_t>(byte));
  stream.insert(stream.end(), unit.begin(), unit.end());
}

// Byte by byte, the length as a sum of products.
bool appendUnits(Bytes& stream, std::span<const std::uint8_t> units) {
  while (units.size() > 3) {
    std::uint64_t length = 0;
    for (int i = 0; i < 4; ++i) {
      length = length * 256 + units.front();
      units = units.subspan(1);
    }
    if (length == 0 || length > units.size()) return false;
    appendUnit(stream, units.first(static_cast<std::size_t>(length)));
    units = units.subspan(static_cast<std::size_t>(length));
  }
  return true;
}

std::optional<Bytes> plainPayload(const H264ParameterSets& sets,
                                  std::span<const std::uint8_t> units, bool isKeyFrame) {
  Bytes payload{'Q', 'N', 'H', '2', std::uint8_t{isKeyFrame}, 0, 0x07, 0x80, 0x04, 0x38, 0, 0};
  const auto headSize = payload.size();
  for (const auto& set : sets) {
    if (set) appendUnit(payload, *set);
  }
  if (!appendUnits(payload, units) || payload.size() == headSize) return std::nullopt;
  return payload;
}

}  // namespace

// The first byte says which parameter sets there are, how many bytes each has, and whether the
// frame is a key frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  if (size == 0) return 0;
  const auto choice = data[0];
  auto rest = std::span<const std::uint8_t>(data, size).subspan(1);
  const auto takeSet = [&](unsigned present,
                           unsigned wanted) -> std::optional<std::span<const std::uint8_t>> {
    if (present == 0) return std::nullopt;
    const auto set = rest.first(std::min<std::size_t>(wanted, rest.size()));
    rest = rest.subspan(set.size());
    return set;
  };
  H264ParameterSets sets;
  sets[0] = takeSet(choice & 1U, choice >> 3U & 3U);
  sets[1] = takeSet(choice & 2U, choice >> 5U & 3U);
  const bool isKeyFrame = (choice & 4U) != 0;

  H264PayloadBuilder builder(sets, rest.size());
  if (builder.units().size() != rest.size()) fatalError("the units do not fit");
  std::ranges::copy(rest, builder.units().begin());
  const auto payload = std::move(builder).finish(isKeyFrame, width, height);

  const auto expected = plainPayload(sets, rest, isKeyFrame);
  if (payload.has_value() != expected.has_value()) fatalError("a payload is there or is not");
  if (expected && !std::ranges::equal(payload->bytes(), *expected)) {
    fatalError("a payload differs from the plain one");
  }
  return 0;
}
