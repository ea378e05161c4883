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
constexpr std::size_t firstCapacityBytes = 4096;  // more than a head takes

// The pixels of an MCU row in brightness and colour (JFIF's, that is BT.601 in full range), as
// libjpeg takes them: colour at half the resolution both ways, rows of whole blocks. What lies
// beyond the picture repeats its last pixels. libyuv makes it of the pixels in a third of the time
// that libjpeg needs, and may be a level off where libjpeg is not.
//
// Lives in memory that is given to it, and needs no destructor.
class PlanarMcuRow {
 public:
  [[nodiscard]] static std::size_t bytesFor(int widthPx);

  PlanarMcuRow() = default;
  PlanarMcuRow(std::uint8_t* memory, int widthPx);

  // Of four bytes each: blue, green, red and one more. At most `mcuSidePx` rows.
  void take(const std::uint8_t* pixels, std::size_t strideBytes, int rowCount);

  // For each of the three components the beginnings of its rows.
  [[nodiscard]] std::array<std::uint8_t**, 3> components() {
    return {brightness.data(), blue.data(), red.data()};
  }

 private:
  static constexpr int colourRows = mcuSidePx / 2;

  int widthPx = 0;
  int strideBytes = 0;  // of brightness; that of colour is half of it
  std::array<std::uint8_t*, mcuSidePx> brightness{};
  std::array<std::uint8_t*, colourRows> blue{};
  std::array<std::uint8_t*, colourRows> red{};
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

// Everything of one compression. Nothing in here has a destructor: libjpeg reports an error by
// never returning, so the functions that call it are left by a jump.
struct Compression {
  jpeg_compress_struct library;
  jpeg_error_mgr errors;
  std::jmp_buf exit;
  jpeg_destination_mgr destination;
  GrowingBytes* into;
  const JpegForm* form;
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
  GrowingBytes& into = *compression.into;
  compression.destination.next_output_byte = into.data() + offset;
  compression.destination.free_in_buffer = into.capacityBytes() - offset;
}

void makeRoom(Compression& compression) {
  GrowingBytes& into = *compression.into;
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
bool takesExactColours(const Compression& compression) {
  return compression.form->quality >= exactFromQuality;
}

void setUp(Compression& compression) {
  jpeg_compress_struct& library = compression.library;
  jpeg_create_compress(&library);
  library.dest = &compression.destination;
  library.image_width = static_cast<JDIMENSION>(compression.form->widthPx);
  library.image_height = static_cast<JDIMENSION>(compression.form->heightPx);
  library.input_components = 4;
  library.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&library);
  jpeg_set_quality(&library, compression.form->quality, TRUE);
  library.restart_interval = static_cast<unsigned>(compression.segmentMcus);
}

void writeHeadOnly(Compression& compression) {
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
  const int widthPx = compression.form->widthPx;
  auto* library = reinterpret_cast<j_common_ptr>(&compression.library);
  void* memory = library->mem->alloc_large(library, JPOOL_IMAGE, PlanarMcuRow::bytesFor(widthPx));
  compression.planar = PlanarMcuRow(static_cast<std::uint8_t*>(memory), widthPx);
}

void writeWhole(Compression& compression) {
  jpeg_compress_struct& library = compression.library;
  setUp(compression);
  const bool isPlanar = !takesExactColours(compression);
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

bool writeJpegHead(const JpegForm& form, GrowingBytes& into) {
  Compression compression{};
  compression.form = &form;
  compression.segmentMcus = segmentMcus(form.widthPx);
  compression.into = &into;
  return run(compression, writeHeadOnly);
}

bool writeJpeg(const JpegForm& part, int segmentMcus, const std::uint8_t* firstPixel,
               std::size_t strideBytes, GrowingBytes& into) {
  Compression compression{};
  compression.form = &part;
  compression.segmentMcus = segmentMcus;
  compression.into = &into;
  compression.firstPixel = firstPixel;
  compression.strideBytes = strideBytes;
  return run(compression, writeWhole);
}

}  // namespace quorvin
