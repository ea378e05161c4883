#include "platform/linux/jpeg/JpegEncoder.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <numeric>
#include <thread>
#include <utility>

#include "platform/linux/jpeg/JpegCompression.h"
#include "platform/linux/jpeg/RowPlan.h"

namespace quorvin {

namespace {

// More would hardly find cores of their own.
constexpr std::size_t threadsMax = 4;
// So that nobody waits long for the one who got the busiest part of the screen.
constexpr int piecesPerThread = 2;

int longestPiece(int rows, std::size_t threadCount) {
  const int pieces = static_cast<int>(threadCount) * piecesPerThread;
  return (rows + pieces - 1) / pieces;
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
      runMemory.begin(), runMemory.end(), last ? last->file.bytes.size() : 0,
      [](std::size_t sum, const CodedRun& run) { return sum + run.capacityBytes(); });
}

std::optional<Data> JpegEncoder::encodeChanges(const CapturedPixelBuffer& picture,
                                               const JpegForm& form) {
  auto runs = changedRuns(picture, form);
  if (runs.empty()) {
    last->history = picture.rowHistory();
    return last->file.bytes;
  }
  if (!code(picture, form, std::move(runs)) || !prepareHead(form)) return {};
  auto file = assembleJpeg(head.written(), piecesOf(form), *buffers);
  Data bytes = file.bytes;
  remember(picture, form, std::move(file));
  trim(bytes.size());
  return bytes;
}

std::vector<RowRange> JpegEncoder::changedRuns(const CapturedPixelBuffer& picture,
                                               const JpegForm& form) const {
  if (!last || last->form != form || !picture.rowHistory()) {
    return {{0, mcuRowsOf(form.heightPx)}};
  }
  return changedMcuRows(*picture.rowHistory(), *last->history, form.heightPx);
}

bool JpegEncoder::isWorthSharing(int mcuRows, const JpegForm& form) const {
  return threads.count > 1 && mcuRows > 1 &&
         std::int64_t{mcuRows} * mcuSidePx * form.widthPx >= threads.sharedFromPx;
}

bool JpegEncoder::code(const CapturedPixelBuffer& picture, const JpegForm& form,
                       std::vector<RowRange> runs) {
  const int rows = countRows(runs);
  const bool isShared = isWorthSharing(rows, form);
  if (isShared) runs = cutRuns(runs, longestPiece(rows, threads.count));
  if (runMemory.size() < runs.size()) runMemory.resize(runs.size());
  coded = std::span(runMemory).first(runs.size());

  std::atomic<bool> isSound = true;
  const auto codeRun = [&](std::size_t i) {
    if (!coded[i].code(picture, form, runs[i])) isSound = false;
  };
  if (isShared) {
    if (!team) team = std::make_unique<WorkerTeam>(threads.count - 1);
    team->run(runs.size(), codeRun);
  } else {
    for (std::size_t i = 0; i < runs.size(); ++i) codeRun(i);
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

std::vector<McuRows> JpegEncoder::piecesOf(const JpegForm& form) const {
  std::vector<McuRows> pieces;
  int row = 0;
  for (const auto& run : coded) {
    const auto [first, end] = run.place();
    if (row < first) pieces.push_back(last->file.rows(row, first));
    pieces.push_back(run.rows());
    row = end;
  }
  const int rows = mcuRowsOf(form.heightPx);
  if (row < rows) pieces.push_back(last->file.rows(row, rows));
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
  runMemory.clear();
}

void JpegEncoder::trim(std::size_t limitBytes) {
  if (keptBytes() <= (last ? 2 : 1) * limitBytes) return;
  runMemory.resize(coded.size());
  for (auto& run : runMemory) run.releaseSpare();
}

}  // namespace quorvin
