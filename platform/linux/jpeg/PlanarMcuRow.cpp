#include "platform/linux/jpeg/PlanarMcuRow.h"

#include <libyuv/convert_from_argb.h>

#include <algorithm>
#include <span>

namespace quorvin {

namespace {

int paddedWidth(int widthPx) {
  return mcusAcross(widthPx) * mcuSidePx;
}

std::uint8_t* layOutRows(std::span<std::uint8_t*> rows, std::uint8_t* memory, int strideBytes) {
  for (std::uint8_t*& row : rows) {
    row = memory;
    memory += strideBytes;
  }
  return memory;
}

// Of `width` and `height` samples that are there.
void repeatLast(std::span<std::uint8_t* const> rows, int strideBytes, int width, int height) {
  const auto present = static_cast<std::size_t>(height);
  for (std::uint8_t* row : rows.first(present)) {
    std::fill_n(row + width, strideBytes - width, row[width - 1]);
  }
  for (std::uint8_t* row : rows.subspan(present)) {
    std::copy_n(rows[present - 1], strideBytes, row);
  }
}

}  // namespace

std::size_t PlanarMcuRow::bytesFor(int widthPx) {
  return static_cast<std::size_t>(paddedWidth(widthPx)) * (mcuSidePx + colourRows);
}

PlanarMcuRow::PlanarMcuRow(std::uint8_t* memory, int widthPx)
    : widthPx(widthPx), strideBytes(paddedWidth(widthPx)) {
  memory = layOutRows(brightness, memory, strideBytes);
  memory = layOutRows(blue, memory, strideBytes / 2);
  layOutRows(red, memory, strideBytes / 2);
}

void PlanarMcuRow::take(const std::uint8_t* pixels, std::size_t pixelStrideBytes, int rowCount) {
  const int colourStride = strideBytes / 2;
  libyuv::ARGBToJ420(pixels, static_cast<int>(pixelStrideBytes), brightness[0], strideBytes,
                     blue[0], colourStride, red[0], colourStride, widthPx, rowCount);
  const int colourWidth = (widthPx + 1) / 2;
  const int colourCount = (rowCount + 1) / 2;
  repeatLast(brightness, strideBytes, widthPx, rowCount);
  repeatLast(blue, colourStride, colourWidth, colourCount);
  repeatLast(red, colourStride, colourWidth, colourCount);
}

}  // namespace quorvin
