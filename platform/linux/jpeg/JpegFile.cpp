#include "platform/linux/jpeg/JpegFile.h"

#include <cstring>
#include <new>
#include <utility>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/JpegCompression.h"

namespace quorvin {

namespace {

std::vector<std::size_t> layOut(std::size_t headerBytes, const std::vector<Segments>& pieces) {
  std::vector<std::size_t> offsets{headerBytes};
  for (const auto& piece : pieces) {
    const std::size_t begin = offsets.back();
    for (const std::size_t end : piece.offsets.subspan(1)) {
      offsets.push_back(begin + end - piece.offsets.front());
    }
  }
  return offsets;
}

std::uint8_t* append(std::uint8_t* position, const std::uint8_t* bytes, std::size_t sizeBytes) {
  std::memcpy(position, bytes, sizeBytes);
  return position + sizeBytes;
}

}  // namespace

Segments JpegFile::segments(std::size_t first, std::size_t end) const {
  return {bytes.data(), std::span(offsets).subspan(first, end - first + 1)};
}

JpegFile assembleJpeg(std::span<const std::uint8_t> header, const std::vector<Segments>& pieces,
                      FrameBufferPool& buffers) {
  auto offsets = layOut(header.size(), pieces);
  const std::size_t size = offsets.back();
  const auto [buffer, capacity] = buffers.take(size);
  std::uint8_t* position = append(buffer.get(), header.data(), header.size());
  for (const auto& piece : pieces) {
    position = append(position, piece.origin + piece.offsets.front(), piece.sizeBytes());
  }
  const std::size_t count = offsets.size() - 1;
  for (std::size_t segment = 0; segment < count; ++segment) {
    buffer.get()[offsets[segment + 1] - 1] = markerBehind(segment, count);
  }
  return {Data(buffer, std::span<const std::uint8_t>(buffer.get(), size)), capacity,
          std::move(offsets)};
}

bool CodedRect::code(const CapturedFrame& frame, const JpegParams& params,
                     const SegmentRect& rect) {
  try {
    offsets.assign(static_cast<std::size_t>(rect.count()) + 1, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  const RowRange rows = pixelRowsOf(rect.mcuRows, params.heightPx);
  const ColumnRange columns = pixelColumnsOf(rect.first, rect.end, params.widthPx);
  const JpegParams part{columns.end - columns.first, rows.end - rows.first, params.quality};
  const auto offset = static_cast<std::size_t>(rows.first) * frame.strideBytes() +
                      static_cast<std::size_t>(columns.first) * bytesPerPixel;
  coded = rect;
  return writeJpeg(part, segmentMcus(params.widthPx), frame.data() + offset, frame.strideBytes(),
                   bytes) &&
         findOffsets();
}

bool CodedRect::findOffsets() {
  const std::size_t begin = findCodedData(bytes.written());
  if (begin == 0 || !findEnds(bytes.written().subspan(begin), std::span(offsets).subspan(1))) {
    return false;
  }
  for (std::size_t& offset : offsets) offset += begin;
  return true;
}

Segments CodedRect::row(int number) const {
  const auto across = static_cast<std::size_t>(coded.across());
  return {bytes.written().data(),
          std::span(offsets).subspan(static_cast<std::size_t>(number) * across, across + 1)};
}

}  // namespace quorvin
