#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
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

  // Null for any other payload. Looks at markers only and decodes nothing. What is as in the file
  // `before` is compared with that instead of searched; the outcome is the same without one.
  [[nodiscard]] static std::shared_ptr<const SegmentedJpeg> parse(
      Data payload, const std::shared_ptr<const SegmentedJpeg>& before = nullptr);

  [[nodiscard]] const Data& file() const { return bytes; }
  // From SOI to SOS.
  [[nodiscard]] std::span<const std::uint8_t> header() const {
    return bytes.bytes().first(headerBytes);
  }
  [[nodiscard]] std::size_t count() const { return ends.size(); }
  // Its coded data with the marker behind it.
  [[nodiscard]] std::span<const std::uint8_t> segment(std::size_t index) const;
  // The segments that differ from those of a file with the same header.
  [[nodiscard]] std::vector<std::size_t> changesSince(const SegmentedJpeg& base) const;

 private:
  [[nodiscard]] bool findSegments(const SegmentedJpeg* before);

  Data bytes;
  std::size_t headerBytes = 0;
  std::vector<std::size_t> ends;  // counted from the end of the header
  std::weak_ptr<const SegmentedJpeg> comparedWith;
  std::vector<std::size_t> changes;  // since then
};

}  // namespace quorvin::webui
