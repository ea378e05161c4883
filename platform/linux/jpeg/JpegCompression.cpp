#include "platform/linux/jpeg/JpegCompression.h"

// clang-format off
#include <cstdio>  // which jpeglib.h leaves to others
#include <jpeglib.h>
#include <jerror.h>
// clang-format on

#include <libyuv/convert_from_argb.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <span>

namespace quorvin {

namespace {

constexpr int exactFromQuality = 96;
constexpr std::size_t firstCapacityBytes = 4096;  // more than a header takes

// An MCU row in the planes that libjpeg takes: Y, and Cb and Cr at half the resolution both ways
// (JFIF's, that is BT.601 in full range). Rows are padded to whole blocks with the last pixels.
// libyuv converts in a third of libjpeg's time, and may be a level off where libjpeg is not. Lives
// in memory that is given to it, and needs no destructor.
class PlanarMcuRow {
 public:
  [[nodiscard]] static std::size_t bytesFor(int widthPx);

  PlanarMcuRow() = default;
  PlanarMcuRow(std::uint8_t* memory, int widthPx);

  // Of four bytes each: blue, green, red and one more. At most `mcuSidePx` rows.
  void take(const std::uint8_t* pixels, std::size_t strideBytes, int rowCount);

  // For each of the three components the beginnings of its rows.
  [[nodiscard]] std::array<std::uint8_t**, 3> components() {
    return {y.data(), cb.data(), cr.data()};
  }

 private:
  static constexpr int chromaRows = mcuSidePx / 2;

  int widthPx = 0;
  int strideBytes = 0;  // of Y; those of Cb and Cr are half of it
  std::array<std::uint8_t*, mcuSidePx> y{};
  std::array<std::uint8_t*, chromaRows> cb{};
  std::array<std::uint8_t*, chromaRows> cr{};
};

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

std::size_t PlanarMcuRow::bytesFor(int widthPx) {
  return static_cast<std::size_t>(paddedWidth(widthPx)) * (mcuSidePx + chromaRows);
}

PlanarMcuRow::PlanarMcuRow(std::uint8_t* memory, int widthPx)
    : widthPx(widthPx), strideBytes(paddedWidth(widthPx)) {
  memory = layOutRows(y, memory, strideBytes);
  memory = layOutRows(cb, memory, strideBytes / 2);
  layOutRows(cr, memory, strideBytes / 2);
}

void PlanarMcuRow::take(const std::uint8_t* pixels, std::size_t pixelStrideBytes, int rowCount) {
  const int chromaStride = strideBytes / 2;
  libyuv::ARGBToJ420(pixels, static_cast<int>(pixelStrideBytes), y[0], strideBytes, cb[0],
                     chromaStride, cr[0], chromaStride, widthPx, rowCount);
  const int chromaWidth = (widthPx + 1) / 2;
  const int chromaCount = (rowCount + 1) / 2;
  repeatLast(y, strideBytes, widthPx, rowCount);
  repeatLast(cb, chromaStride, chromaWidth, chromaCount);
  repeatLast(cr, chromaStride, chromaWidth, chromaCount);
}

// Everything of one compression. Nothing in here has a destructor: libjpeg reports an error by
// never returning, so the functions that call it are left by a jump.
struct Compression {
  jpeg_compress_struct library;
  jpeg_error_mgr errors;
  std::jmp_buf exit;
  jpeg_destination_mgr destination;
  ByteBuffer* into;
  const JpegParams* params;
  int segmentMcus;
  const std::uint8_t* firstPixel;
  std::size_t strideBytes;
  PlanarMcuRow planar;  // where the pixels pass through it
};

Compression& compressionOf(void* clientData) {
  return *static_cast<Compression*>(clientData);
}

[[noreturn]] void leave(j_common_ptr library) {
  std::longjmp(compressionOf(library->client_data).exit, 1);  // NOLINT: made for C
}

// The library would write to the standard error output.
void saySilently(j_common_ptr /*library*/) {}
void warnSilently(j_common_ptr /*library*/, int /*level*/) {}

void writeFrom(Compression& compression, std::size_t offset) {
  ByteBuffer& into = *compression.into;
  compression.destination.next_output_byte = into.data() + offset;
  compression.destination.free_in_buffer = into.capacityBytes() - offset;
}

void makeRoom(Compression& compression) {
  ByteBuffer& into = *compression.into;
  const std::size_t capacity = std::max(into.capacityBytes() * 2, firstCapacityBytes);
  if (!into.setCapacity(capacity)) ERREXIT1(&compression.library, JERR_OUT_OF_MEMORY, 0);
}

void begin(j_compress_ptr library) {
  Compression& compression = compressionOf(library->client_data);
  if (compression.into->capacityBytes() == 0) makeRoom(compression);
  writeFrom(compression, 0);
}

boolean goOn(j_compress_ptr library) {
  Compression& compression = compressionOf(library->client_data);
  const std::size_t full = compression.into->capacityBytes();
  makeRoom(compression);
  writeFrom(compression, full);
  return TRUE;
}

std::size_t writtenBytes(const Compression& compression) {
  return compression.into->capacityBytes() - compression.destination.free_in_buffer;
}

void end(j_compress_ptr library) {
  const Compression& compression = compressionOf(library->client_data);
  compression.into->setWritten(writtenBytes(compression));
}

// Whether colours are to be as near to the pixels' as libjpeg can come.
bool usesLibjpegColours(const Compression& compression) {
  return compression.params->quality >= exactFromQuality;
}

void setUp(Compression& compression) {
  jpeg_compress_struct& library = compression.library;
  jpeg_create_compress(&library);
  library.dest = &compression.destination;
  library.image_width = static_cast<JDIMENSION>(compression.params->widthPx);
  library.image_height = static_cast<JDIMENSION>(compression.params->heightPx);
  library.input_components = 4;
  library.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&library);
  jpeg_set_quality(&library, compression.params->quality, TRUE);
  library.restart_interval = static_cast<unsigned>(compression.segmentMcus);
}

void writeHeaderOnly(Compression& compression) {
  setUp(compression);
  jpeg_start_compress(&compression.library, TRUE);
  jpeg_write_scanlines(&compression.library, nullptr, 0);  // tables wait for the first pixels
  end(&compression.library);
}

int rowsLeftForMcuRow(const jpeg_compress_struct& library) {
  return static_cast<int>(
      std::min<JDIMENSION>(mcuSidePx, library.image_height - library.next_scanline));
}

const std::uint8_t* nextPixels(const Compression& compression) {
  return compression.firstPixel + compression.library.next_scanline * compression.strideBytes;
}

// The pixels of the next MCU row, or of what there is of it.
void writeRow(Compression& compression) {
  std::array<JSAMPROW, mcuSidePx> rows{};
  const int count = rowsLeftForMcuRow(compression.library);
  const std::uint8_t* pixels = nextPixels(compression);
  for (JSAMPROW& row : std::span(rows).first(static_cast<std::size_t>(count))) {
    row = const_cast<JSAMPROW>(pixels);  // only reads them, but is older than const
    pixels += compression.strideBytes;
  }
  jpeg_write_scanlines(&compression.library, rows.data(), static_cast<JDIMENSION>(count));
}

void writePlanarRow(Compression& compression) {
  compression.planar.take(nextPixels(compression), compression.strideBytes,
                          rowsLeftForMcuRow(compression.library));
  jpeg_write_raw_data(&compression.library, compression.planar.components().data(), mcuSidePx);
}

void preparePlanarRow(Compression& compression) {
  const int widthPx = compression.params->widthPx;
  auto* library = reinterpret_cast<j_common_ptr>(&compression.library);
  void* memory = library->mem->alloc_large(library, JPOOL_IMAGE, PlanarMcuRow::bytesFor(widthPx));
  compression.planar = PlanarMcuRow(static_cast<std::uint8_t*>(memory), widthPx);
}

void writeWhole(Compression& compression) {
  jpeg_compress_struct& library = compression.library;
  setUp(compression);
  const bool isPlanar = !usesLibjpegColours(compression);
  library.raw_data_in = static_cast<boolean>(isPlanar);
  if (isPlanar) preparePlanarRow(compression);
  jpeg_start_compress(&library, TRUE);
  const auto write = isPlanar ? writePlanarRow : writeRow;
  while (library.next_scanline < library.image_height) write(compression);
  jpeg_finish_compress(&library);
}

// False when `work` was left by an error.
bool finishes(Compression& compression, void (*work)(Compression&)) {
  if (setjmp(compression.exit) != 0) return false;  // NOLINT: made for C
  work(compression);
  return true;
}

bool run(Compression& compression, void (*work)(Compression&)) {
  compression.library.err = jpeg_std_error(&compression.errors);
  compression.library.client_data = &compression;
  compression.errors.error_exit = leave;
  compression.errors.output_message = saySilently;
  compression.errors.emit_message = warnSilently;
  compression.destination.init_destination = begin;
  compression.destination.empty_output_buffer = goOn;
  compression.destination.term_destination = end;
  const bool isDone = finishes(compression, work);
  jpeg_destroy_compress(&compression.library);
  if (!isDone) compression.into->setWritten(0);
  return isDone;
}

}  // namespace

bool writeJpegHeader(const JpegParams& params, ByteBuffer& into) {
  Compression compression{};
  compression.params = &params;
  compression.segmentMcus = segmentMcus(params.widthPx);
  compression.into = &into;
  return run(compression, writeHeaderOnly);
}

bool writeJpeg(const JpegParams& part, int segmentMcus, const std::uint8_t* firstPixel,
               std::size_t strideBytes, ByteBuffer& into) {
  Compression compression{};
  compression.params = &part;
  compression.segmentMcus = segmentMcus;
  compression.into = &into;
  compression.firstPixel = firstPixel;
  compression.strideBytes = strideBytes;
  return run(compression, writeWhole);
}

}  // namespace quorvin
