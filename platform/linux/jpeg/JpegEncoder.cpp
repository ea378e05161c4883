#include "platform/linux/jpeg/JpegEncoder.h"

#include <algorithm>
#include <atomic>
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
std::vector<Placed> inOrder(std::span<const CodedRect> coded, const JpegForm& form) {
  const int across = segmentsAcross(form.widthPx);
  std::vector<Placed> placed;
  for (const auto& rect : coded) {
    const SegmentRect& place = rect.place();
    for (int row = 0; row < place.down(); ++row) {
      const int first = (place.mcuRows.first + row) * across + place.first;
      placed.push_back({static_cast<std::size_t>(first), rect.row(row)});
    }
  }
  std::ranges::sort(placed, {}, &Placed::first);
  return placed;
}

}  // namespace

JpegThreads JpegThreads::ofThisMachine() {
  JpegThreads threads;
  threads.count = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, threadsMax);
  return threads;
}

std::optional<Data> JpegEncoder::encode(const CapturedPixelBuffer& picture, int quality) {
  const JpegForm form{static_cast<int>(picture.widthPx()), static_cast<int>(picture.heightPx()),
                      quality};
  std::optional<Data> file;
  try {
    file = encodeChanges(picture, form);
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

std::optional<Data> JpegEncoder::encodeChanges(const CapturedPixelBuffer& picture,
                                               const JpegForm& form) {
  auto rects = changedRects(picture, form);
  if (rects.empty()) {
    last->history = picture.rowHistory();
    return last->file.bytes;
  }
  if (!code(picture, form, std::move(rects)) || !prepareHead(form)) return {};
  auto file = assembleJpeg(head.written(), piecesOf(form), *buffers);
  Data bytes = file.bytes;
  remember(picture, form, std::move(file));
  trim(bytes.size());
  return bytes;
}

std::vector<SegmentRect> JpegEncoder::changedRects(const CapturedPixelBuffer& picture,
                                                   const JpegForm& form) const {
  if (!last || last->form != form || !picture.rowHistory()) return {allSegments(form)};
  return changedSegments(*picture.rowHistory(), *last->history, form);
}

bool JpegEncoder::isWorthSharing(int segments, const JpegForm& form) const {
  const std::int64_t segmentPx = std::int64_t{segmentMcus(form.widthPx)} * mcuSidePx * mcuSidePx;
  return threads.count > 1 && segments * segmentPx >= threads.sharedFromPx;
}

bool JpegEncoder::code(const CapturedPixelBuffer& picture, const JpegForm& form,
                       std::vector<SegmentRect> rects) {
  const int segments = countSegments(rects);
  const bool isShared = isWorthSharing(segments, form);
  if (isShared) rects = cutRects(rects, largestPiece(segments, threads.count));
  if (rectMemory.size() < rects.size()) rectMemory.resize(rects.size());
  coded = std::span(rectMemory).first(rects.size());

  std::atomic<bool> isSound = true;
  const auto codeRect = [&](std::size_t i) {
    if (!coded[i].code(picture, form, rects[i])) isSound = false;
  };
  if (isShared && rects.size() > 1) {
    if (!team) team = std::make_unique<WorkerTeam>(threads.count - 1);
    team->run(rects.size(), codeRect);
  } else {
    for (std::size_t i = 0; i < rects.size(); ++i) codeRect(i);
  }
  return isSound;
}

bool JpegEncoder::prepareHead(const JpegForm& form) {
  if (headForm == form) return true;
  headForm = {};
  if (!writeJpegHead(form, head)) return false;
  headForm = form;
  return true;
}

std::vector<Segments> JpegEncoder::piecesOf(const JpegForm& form) const {
  std::vector<Segments> pieces;
  std::size_t next = 0;
  for (const auto& [first, segments] : inOrder(coded, form)) {
    if (next < first) pieces.push_back(last->file.segments(next, first));
    pieces.push_back(segments);
    next = first + segments.count();
  }
  const std::size_t count = segmentCount(form);
  if (next < count) pieces.push_back(last->file.segments(next, count));
  return pieces;
}

void JpegEncoder::remember(const CapturedPixelBuffer& picture, const JpegForm& form,
                           JpegFile file) {
  last.reset();
  // What cannot be compared with later pictures is of no use to them.
  if (picture.rowHistory()) last = LastFile{form, picture.rowHistory(), std::move(file)};
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

}  // namespace quorvin
