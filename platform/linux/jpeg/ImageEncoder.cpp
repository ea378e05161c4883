#include "platform/linux/jpeg/ImageEncoder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <new>
#include <numeric>
#include <thread>
#include <utility>

#include "platform/linux/jpeg/JpegCompression.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {

namespace {

// More would hardly find cores of their own.
constexpr std::size_t threadsMax = 4;
// So that nobody waits long for the one who got the busiest part of the screen.
constexpr int piecesPerThread = 2;

int largestPiece(int segments, std::size_t threadCount) {
  const int pieces = static_cast<int>(threadCount) * piecesPerThread;
  return (segments + pieces - 1) / pieces;
}

// Segments and where the first of them belongs in the file.
struct Placed {
  std::size_t first;
  Segments segments;
};

// What was coded, in the order of the file.
std::vector<Placed> inOrder(std::span<const CodedRect> coded, const JpegParams& params) {
  const int across = segmentsAcross(params.widthPx);
  std::vector<Placed> placed;
  for (const auto& rect : coded) {
    const SegmentRect& position = rect.position();
    for (int row = 0; row < position.down(); ++row) {
      const int first = (position.mcuRows.first + row) * across + position.first;
      placed.push_back({static_cast<std::size_t>(first), rect.row(row)});
    }
  }
  std::ranges::sort(placed, {}, &Placed::first);
  return placed;
}

constexpr std::size_t longestJpegSide = 65'500;

int qualityFrom(double compressionFactor) {
  if (!(compressionFactor > 0)) return 1;  // also what is not a number
  return static_cast<int>(std::lround(std::clamp(compressionFactor * 100, 1.0, 100.0)));
}

bool isEncodable(const CapturedFrame& frame) {
  const auto isSide = [](std::size_t px) {
    return px >= 1 && px <= longestJpegSide;
  };
  return isSide(frame.widthPx()) && isSide(frame.heightPx());
}

class JpegContext final : public ImageContext {
 public:
  [[nodiscard]] std::optional<Data> jpegRepresentation(const PixelBuffer& frame,
                                                       double compressionFactor) override {
    const auto* captured = dynamic_cast<const CapturedFrame*>(&frame);
    if (captured == nullptr || !isEncodable(*captured)) return {};
    return encoder.encode(*captured, qualityFrom(compressionFactor));
  }

 private:
  JpegEncoder encoder{JpegThreads::ofThisMachine()};
};

}  // namespace

JpegThreads JpegThreads::ofThisMachine() {
  return {.count = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, threadsMax)};
}

std::optional<Data> JpegEncoder::encode(const CapturedFrame& frame, int quality) {
  const JpegParams params{static_cast<int>(frame.widthPx()), static_cast<int>(frame.heightPx()),
                          quality};
  std::optional<Data> file;
  try {
    file = encodeChanges(frame, params);
  } catch (const std::bad_alloc&) {
    // As when libjpeg runs out of memory.
  }
  if (!file) forgetCoded();
  return file;
}

std::size_t JpegEncoder::keptBytes() const {
  return std::accumulate(
      rectMemory.begin(), rectMemory.end(), last ? last->file.capacityBytes : 0,
      [](std::size_t sum, const CodedRect& rect) { return sum + rect.capacityBytes(); });
}

std::optional<Data> JpegEncoder::encodeChanges(const CapturedFrame& frame,
                                               const JpegParams& params) {
  auto rects = changedRects(frame, params);
  if (rects.empty()) {
    last->history = frame.damageHistory();
    return last->file.bytes;
  }
  if (!code(frame, params, std::move(rects)) || !prepareHeader(params)) return {};
  auto file = assembleJpeg(header.written(), piecesOf(params), *buffers);
  Data bytes = file.bytes;
  remember(frame, params, std::move(file));
  trim(bytes.size());
  return bytes;
}

std::vector<SegmentRect> JpegEncoder::changedRects(const CapturedFrame& frame,
                                                   const JpegParams& params) const {
  if (!last || last->params != params || !frame.damageHistory()) return {allSegments(params)};
  return changedSegments(*frame.damageHistory(), *last->history, params);
}

bool JpegEncoder::isWorthSharing(int segments, const JpegParams& params) const {
  const std::int64_t segmentPx = std::int64_t{segmentMcus(params.widthPx)} * mcuSidePx * mcuSidePx;
  return threads.count > 1 && segments * segmentPx >= threads.sharedFromPx;
}

bool JpegEncoder::code(const CapturedFrame& frame, const JpegParams& params,
                       std::vector<SegmentRect> rects) {
  const int segments = countSegments(rects);
  const bool isShared = isWorthSharing(segments, params);
  if (isShared) rects = cutRects(rects, largestPiece(segments, threads.count));
  if (rectMemory.size() < rects.size()) rectMemory.resize(rects.size());
  coded = std::span(rectMemory).first(rects.size());

  std::atomic<bool> isSound = true;
  const auto codeRect = [&](std::size_t i) {
    if (!coded[i].code(frame, params, rects[i])) isSound = false;
  };
  if (isShared && rects.size() > 1) {
    if (!pool) pool = std::make_unique<ThreadPool>(threads.count - 1);
    pool->parallelFor(rects.size(), codeRect);
  } else {
    for (std::size_t i = 0; i < rects.size(); ++i) codeRect(i);
  }
  return isSound;
}

bool JpegEncoder::prepareHeader(const JpegParams& params) {
  if (headerParams == params) return true;
  headerParams = {};
  if (!writeJpegHeader(params, header)) return false;
  headerParams = params;
  return true;
}

std::vector<Segments> JpegEncoder::piecesOf(const JpegParams& params) const {
  std::vector<Segments> pieces;
  std::size_t next = 0;
  for (const auto& [first, segments] : inOrder(coded, params)) {
    if (next < first) pieces.push_back(last->file.segments(next, first));
    pieces.push_back(segments);
    next = first + segments.count();
  }
  const std::size_t count = segmentCount(params);
  if (next < count) pieces.push_back(last->file.segments(next, count));
  return pieces;
}

void JpegEncoder::remember(const CapturedFrame& frame, const JpegParams& params, JpegFile file) {
  last.reset();
  // What cannot be compared with later frames is of no use to them.
  if (frame.damageHistory()) last = LastFile{params, frame.damageHistory(), std::move(file)};
}

void JpegEncoder::forgetCoded() {
  coded = {};
  rectMemory.clear();
}

void JpegEncoder::trim(std::size_t sizeBytes) {
  const std::size_t limit = (last ? 2 : 1) * sizeBytes;
  if (keptBytes() <= limit) return;
  rectMemory.resize(coded.size());
  for (auto& rect : rectMemory) rect.releaseSpare();
  // The file's own spare memory may still be too much.
  coded = {};
  while (keptBytes() > limit) rectMemory.pop_back();
}

std::unique_ptr<ImageContext> LinuxImageEncoder::makeContext(bool /*cacheIntermediates*/) {
  return std::make_unique<JpegContext>();
}

}  // namespace quorvin
