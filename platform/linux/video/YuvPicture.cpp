#include "platform/linux/video/YuvPicture.h"

namespace quorvin {

namespace {

// ITU-R BT.709-6, 3.2 to 3.4, for R'G'B' from 0 to 255: lumas from 16 to 235, chromas from 16 to
// 240, in 65536ths. The roundings are such that each row of the matrix sums up exactly, so that
// greys have no chroma.
constexpr std::uint32_t lumaOfRed = 11966;
constexpr std::uint32_t lumaOfGreen = 40254;
constexpr std::uint32_t lumaOfBlue = 4064;
constexpr std::uint32_t lumaOffset = (16U << 16U) + (1U << 15U);
constexpr int chromaOfOwn = 28784;
constexpr int blueChromaOfRed = -6596;
constexpr int blueChromaOfGreen = -22188;
constexpr int redChromaOfBlue = -2639;
constexpr int redChromaOfGreen = -26145;
// For sums over four pixels.
constexpr int chromaOffset = (128 << 18) + (1 << 17);

// Two rows of captured pixels and what becomes of them.
struct RowPair {
  const std::uint32_t* upper;
  const std::uint32_t* lower;
  std::uint8_t* upperLumas;
  std::uint8_t* lowerLumas;
  std::uint8_t* chromas;
};

// These are inlined whole into one function for each kind of processor, where the compiler turns
// their loops into vector instructions.
[[gnu::always_inline]] inline std::uint8_t lumaOf(std::uint32_t pixel) {
  const std::uint32_t red = pixel >> 16U & 0xFFU;
  const std::uint32_t green = pixel >> 8U & 0xFFU;
  const std::uint32_t blue = pixel & 0xFFU;
  const auto sum = red * lumaOfRed + green * lumaOfGreen + blue * lumaOfBlue + lumaOffset;
  return static_cast<std::uint8_t>(sum >> 16U);
}

[[gnu::always_inline]] inline void writeChromas(std::uint32_t a, std::uint32_t b, std::uint32_t c,
                                                std::uint32_t d, std::uint8_t* chromas) {
  constexpr std::uint32_t redAndBlue = 0xFF00FF;
  const std::uint32_t both =
      (a & redAndBlue) + (b & redAndBlue) + (c & redAndBlue) + (d & redAndBlue);
  const int red = static_cast<int>(both >> 16U);
  const int blue = static_cast<int>(both & 0xFFFFU);
  const int green = static_cast<int>((a >> 8U & 0xFFU) + (b >> 8U & 0xFFU) + (c >> 8U & 0xFFU) +
                                     (d >> 8U & 0xFFU));
  chromas[0] = static_cast<std::uint8_t>(
      (blue * chromaOfOwn + red * blueChromaOfRed + green * blueChromaOfGreen + chromaOffset) >>
      18);
  chromas[1] = static_cast<std::uint8_t>(
      (red * chromaOfOwn + green * redChromaOfGreen + blue * redChromaOfBlue + chromaOffset) >> 18);
}

[[gnu::always_inline]] inline void convertLumas(const std::uint32_t* pixels, std::uint8_t* lumas,
                                                std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) lumas[i] = lumaOf(pixels[i]);
}

[[gnu::always_inline]] inline void convertInline(const RowPair& rows, std::size_t widthPx) {
  convertLumas(rows.upper, rows.upperLumas, widthPx);
  convertLumas(rows.lower, rows.lowerLumas, widthPx);
  for (std::size_t i = 0; i < widthPx / 2; ++i) {
    writeChromas(rows.upper[2 * i], rows.upper[2 * i + 1], rows.lower[2 * i], rows.lower[2 * i + 1],
                 &rows.chromas[2 * i]);
  }
  if (widthPx % 2 == 0) return;
  const std::size_t last = widthPx - 1;
  rows.upperLumas[widthPx] = rows.upperLumas[last];
  rows.lowerLumas[widthPx] = rows.lowerLumas[last];
  writeChromas(rows.upper[last], rows.upper[last], rows.lower[last], rows.lower[last],
               &rows.chromas[last]);
}

using RowConverter = void (*)(const RowPair& rows, std::size_t widthPx);

void convertPlainly(const RowPair& rows, std::size_t widthPx) {
  convertInline(rows, widthPx);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void convertWithAvx2(const RowPair& rows, std::size_t widthPx) {
  convertInline(rows, widthPx);
}
#endif

RowConverter chooseConverter() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return convertWithAvx2;
#endif
  return convertPlainly;
}

int evenOf(int px) {
  return px + px % 2;
}

}  // namespace

YuvPicture::YuvPicture(PixelSize captured)
    : captured(captured),
      padded{evenOf(captured.width), evenOf(captured.height)},
      // Rows begin where vector instructions like them to.
      stride((static_cast<std::size_t>(padded.width) + 63) / 64 * 64),
      chromaOffset(stride * static_cast<std::size_t>(padded.height)),
      bytes(chromaOffset * 3 / 2) {}

void YuvPicture::convert(const CapturedPixelBuffer& picture) {
  static const RowConverter convertRows = chooseConverter();
  const auto rowOf = [&picture](std::size_t y) {
    return reinterpret_cast<const std::uint32_t*>(picture.data() + y * picture.strideBytes());
  };
  const auto height = static_cast<std::size_t>(captured.height);
  for (std::size_t y = 0; y < height; y += 2) {
    std::uint8_t* lumaRow = bytes.data() + y * stride;
    convertRows({rowOf(y), rowOf(y + 1 < height ? y + 1 : y), lumaRow, lumaRow + stride,
                 bytes.data() + chromaOffset + y / 2 * stride},
                static_cast<std::size_t>(captured.width));
  }
}

}  // namespace quorvin
