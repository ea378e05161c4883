#include "platform/linux/video/YuvFrame.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

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
// As above, sixteen columns at a time. A pixel's components are spread over pairs of 16 bits, for
// the one instruction that multiplies such pairs and adds the two products: blue and red make a
// pair, and green makes one with itself, as its factors are too large for 16 bits undivided.
class Avx2 {
 public:
  [[gnu::target("avx2")]] static void convert(const RowPair& rows, std::size_t widthPx) {
    std::size_t x = 0;
    for (; x + step <= widthPx; x += step) {
      const Block upper = load(rows.upper + x);
      const Block lower = load(rows.lower + x);
      store(rows.upperLumas + x, lumasOf(upper));
      store(rows.lowerLumas + x, lumasOf(lower));
      store(rows.chromas + x, chromasOf(upper, lower));
    }
    convertInline({rows.upper + x, rows.lower + x, rows.upperLumas + x, rows.lowerLumas + x,
                   rows.chromas + x},
                  widthPx - x);
  }

 private:
  static constexpr std::size_t step = 16;
  // Two times eight pixels.
  struct Block {
    __m256i first;
    __m256i second;
  };

  [[gnu::target("avx2")]] static Block load(const std::uint32_t* pixels) {
    const auto* vectors = reinterpret_cast<const __m256i*>(pixels);
    return {_mm256_loadu_si256(vectors), _mm256_loadu_si256(vectors + 1)};
  }
  [[gnu::target("avx2")]] static void store(std::uint8_t* bytes, __m128i vector) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), vector);
  }
  [[gnu::target("avx2")]] static __m256i pairOf(int low, int high) {
    return _mm256_set1_epi32((high << 16) | (low & 0xFFFF));
  }
  [[gnu::target("avx2")]] static __m256i blueAndRed(__m256i pixels) {
    return _mm256_and_si256(pixels, _mm256_set1_epi32(0xFF00FF));
  }
  [[gnu::target("avx2")]] static __m256i greenTwice(__m256i pixels) {
    const __m256i green = _mm256_and_si256(_mm256_srli_epi32(pixels, 8), _mm256_set1_epi32(0xFF));
    return _mm256_or_si256(green, _mm256_slli_epi32(green, 16));
  }
  [[gnu::target("avx2")]] static __m256i weigh(__m256i blueRed, __m256i green, __m256i blueRedBy,
                                               __m256i greenBy, int offset) {
    const __m256i sum =
        _mm256_add_epi32(_mm256_madd_epi16(blueRed, blueRedBy), _mm256_madd_epi16(green, greenBy));
    return _mm256_add_epi32(sum, _mm256_set1_epi32(offset));
  }

  [[gnu::target("avx2")]] static __m256i lumasOf(__m256i pixels) {
    constexpr int half = lumaOfGreen / 2;
    const __m256i sum = weigh(blueAndRed(pixels), greenTwice(pixels), pairOf(lumaOfBlue, lumaOfRed),
                              pairOf(half, static_cast<int>(lumaOfGreen) - half), lumaOffset);
    return _mm256_srli_epi32(sum, 16);
  }
  [[gnu::target("avx2")]] static __m128i lumasOf(const Block& block) {
    const __m256i packed = _mm256_permute4x64_epi64(
        _mm256_packus_epi32(lumasOf(block.first), lumasOf(block.second)), 0xD8);
    return _mm_packus_epi16(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1));
  }

  // Of two columns, in the lower half of each 64 bits.
  [[gnu::target("avx2")]] static __m256i acrossFour(__m256i upper, __m256i lower) {
    const __m256i both = _mm256_add_epi16(upper, lower);
    return _mm256_add_epi16(both, _mm256_srli_epi64(both, 32));
  }

  // Both chromas in the lowest 16 bits of each 64.
  [[gnu::target("avx2")]] static __m256i chromasOf(__m256i upper, __m256i lower) {
    const __m256i blueRed = acrossFour(blueAndRed(upper), blueAndRed(lower));
    const __m256i green = acrossFour(greenTwice(upper), greenTwice(lower));
    constexpr int blueHalf = blueChromaOfGreen / 2;
    constexpr int redHalf = redChromaOfGreen / 2;
    const __m256i blueChroma = weigh(blueRed, green, pairOf(chromaOfOwn, blueChromaOfRed),
                                     pairOf(blueHalf, blueChromaOfGreen - blueHalf), chromaOffset);
    const __m256i redChroma = weigh(blueRed, green, pairOf(redChromaOfBlue, chromaOfOwn),
                                    pairOf(redHalf, redChromaOfGreen - redHalf), chromaOffset);
    const __m256i both = _mm256_or_si256(_mm256_srli_epi32(blueChroma, 18),
                                         _mm256_slli_epi32(_mm256_srli_epi32(redChroma, 18), 8));
    return _mm256_and_si256(both, _mm256_set1_epi64x(0xFFFF));
  }
  [[gnu::target("avx2")]] static __m128i chromasOf(const Block& upper, const Block& lower) {
    const __m256i packed = _mm256_packus_epi32(chromasOf(upper.first, lower.first),
                                               chromasOf(upper.second, lower.second));
    const __m256i dense = _mm256_packus_epi32(packed, packed);
    return _mm_unpacklo_epi32(_mm256_castsi256_si128(dense), _mm256_extracti128_si256(dense, 1));
  }
};
#endif

RowConverter chooseConverter() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) return Avx2::convert;
#endif
  return convertPlainly;
}

int evenOf(int px) {
  return px + px % 2;
}

}  // namespace

YuvFrame::YuvFrame(PixelSize captured)
    : captured(captured),
      padded{evenOf(captured.width), evenOf(captured.height)},
      // Rows begin where vector instructions like them to.
      stride((static_cast<std::size_t>(padded.width) + 63) / 64 * 64),
      chromaOffset(stride * static_cast<std::size_t>(padded.height)),
      bytes(chromaOffset * 3 / 2) {}

void YuvFrame::convert(const CapturedFrame& frame) {
  static const RowConverter convertRows = chooseConverter();
  const auto rowOf = [&frame](std::size_t y) {
    return reinterpret_cast<const std::uint32_t*>(frame.data() + y * frame.strideBytes());
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
