#include "Runner/H264Payload.h"

#include <algorithm>
#include <utility>

#include "platform/Fatal.h"

namespace quorvin {

namespace {

constexpr std::size_t headSize = 12;
constexpr std::array<std::uint8_t, 4> startCode{0, 0, 0, 1};
constexpr std::int64_t sizeLimit = 65'536;

std::size_t sizeInStream(const H264ParameterSets& parameterSets) {
  std::size_t size = 0;
  for (const auto& set : parameterSets) {
    if (set) size += startCode.size() + set->size();
  }
  return size;
}

std::size_t bigEndianLength(std::span<const std::uint8_t> bytes) {
  return std::size_t{bytes[0]} << 24U | std::size_t{bytes[1]} << 16U | std::size_t{bytes[2]} << 8U |
         std::size_t{bytes[3]};
}

void writeHead(std::span<std::uint8_t> head, bool isKeyFrame, std::int64_t width,
               std::int64_t height) {
  const auto high = [](std::int64_t size) {
    return static_cast<std::uint8_t>(size / 256);
  };
  const auto low = [](std::int64_t size) {
    return static_cast<std::uint8_t>(size % 256);
  };
  const std::array<std::uint8_t, headSize> bytes{
      'Q',          'N',         'H', '2', std::uint8_t{isKeyFrame}, 0, high(width), low(width),
      high(height), low(height), 0,   0};
  std::ranges::copy(bytes, head.begin());
}

}  // namespace

std::optional<std::size_t> convertToByteStream(std::span<std::uint8_t> units) {
  std::size_t offset = 0;
  while (units.size() - offset >= startCode.size()) {
    const auto rest = units.subspan(offset);
    const auto length = bigEndianLength(rest);
    if (length < 1 || length > rest.size() - startCode.size()) return std::nullopt;
    std::ranges::copy(startCode, rest.begin());
    offset += startCode.size() + length;
  }
  return offset;
}

H264PayloadBuilder::H264PayloadBuilder(const H264ParameterSets& parameterSets,
                                       std::size_t unitsLength)
    : unitsOffset(headSize + sizeInStream(parameterSets)),
      unitsLength(unitsLength),
      // As it comes, for every byte is written anyway.
      storage(std::make_shared_for_overwrite<std::uint8_t[]>(unitsOffset + unitsLength)) {
  auto* end = storage.get() + headSize;
  for (const auto& set : parameterSets) {
    if (!set) continue;
    end = std::ranges::copy(startCode, end).out;
    end = std::ranges::copy(*set, end).out;
  }
}

std::span<std::uint8_t> H264PayloadBuilder::units() {
  return {storage.get() + unitsOffset, unitsLength};
}

std::optional<Data> H264PayloadBuilder::finish(bool isKeyFrame, std::int64_t width,
                                               std::int64_t height) && {
  const auto converted = convertToByteStream(units());
  if (!converted) return std::nullopt;
  const auto size = unitsOffset + *converted;
  if (size == headSize) return std::nullopt;
  if (width >= sizeLimit || height >= sizeLimit) return std::nullopt;
  if (width < 0 || height < 0) fatalError("The size of an encoded picture is negative.");

  writeHead({storage.get(), headSize}, isKeyFrame, width, height);
  const std::span<const std::uint8_t> bytes(storage.get(), size);
  return Data(std::move(storage), bytes);
}

}  // namespace quorvin
