#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/Data.h"

namespace quorvin::webui {

// A baseline JPEG file (ITU-T T.81) whose restart segments form a grid: as many of them in each row
// of minimum coded units. Found once for a frame, whoever it goes to.
class SegmentedJpeg {
 public:
  // Far more than a screen has.
  static constexpr std::size_t segmentsMax = 65'536;

  // Nothing for any other payload. Looks at markers only and decodes nothing.
  [[nodiscard]] static std::optional<SegmentedJpeg> parse(Data payload);

  [[nodiscard]] const Data& file() const { return bytes; }
  // From SOI to SOS.
  [[nodiscard]] std::span<const std::uint8_t> header() const {
    return bytes.bytes().first(headerBytes);
  }
  [[nodiscard]] std::size_t count() const { return ends.size(); }
  // Its coded data with the marker behind it.
  [[nodiscard]] std::span<const std::uint8_t> segment(std::size_t index) const;

 private:
  Data bytes;
  std::size_t headerBytes = 0;
  std::vector<std::size_t> ends;  // counted from the end of the header
};

}  // namespace quorvin::webui
