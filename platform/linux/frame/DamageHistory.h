#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// What changed on a display or a frame: a region to fetch, and exactly the parts and their rows.
// The region may be larger than its parts, since it holds much of what lies between two of them.
struct Damage {
  PixelRegion region;
  RowSet rows;
  std::vector<PixelRect> parts;

  Damage() = default;
  explicit Damage(const PixelRect& rect) { add(rect); }

  void add(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    region.add(rect);
    rows.add({rect.y, rect.bottom()});
    parts.push_back(rect);
  }
  void add(const Damage& others) {
    for (const PixelRect& part : others.parts) add(part);
  }
  [[nodiscard]] bool isEmpty() const { return rows.isEmpty(); }
};

// Which frame last damaged each row, and each tile to tell roughly where in its rows. Frames are
// numbered from 1.
struct LastDamage {
  static constexpr int tileSidePx = 16;

  std::vector<std::uint64_t> rows;
  std::vector<std::uint64_t> tiles;  // row by row from the top, each from the left
  std::size_t tilesAcross = 0;
};

// When each row of one frame of a stream last changed, and where in the row. With it a frame can be
// compared with any earlier one of its series, even if nobody used the frames in between.
// Immutable; any thread.
class DamageHistory {
 public:
  // All frames of a series have the same `series` object, which tells it from other series.
  DamageHistory(std::shared_ptr<const void> series, std::uint64_t number, LastDamage changedBy)
      : series(std::move(series)), number(number), changedBy(std::move(changedBy)) {}

  // Whether one of these rows may look different in `earlier`. Of frames that are not of one
  // series, or in the wrong order, nothing is known, so that every row may.
  [[nodiscard]] bool changedSince(const DamageHistory& earlier, RowRange rows) const;
  // Whether one of these rows may, within these columns or close to them.
  [[nodiscard]] bool changedSince(const DamageHistory& earlier, RowRange rows,
                                  ColumnRange columns) const;

 private:
  [[nodiscard]] bool canCompareWith(const DamageHistory& earlier) const;
  [[nodiscard]] bool tilesChangedSince(const DamageHistory& earlier, RowRange rows,
                                       ColumnRange columns) const;

  std::shared_ptr<const void> series;
  std::uint64_t number;
  LastDamage changedBy;
};

// Keeps the damage history of a stream while its frames are made. One thread at a time.
class DamageTracker {
 public:
  // Begins a new series of frames of that size; nothing is known of how they compare with those
  // before.
  void restart(PixelSize newFrameSize);
  // The next frame differs from the last one in these pixels; what lies outside of it is left
  // out.
  void markDamaged(const PixelRect& area);
  void markDamaged(RowRange rows) {
    markDamaged({0, rows.first, frameSize.width, rows.end - rows.first});
  }
  // The history of the next frame, which is made from now on. Only after `restart`.
  [[nodiscard]] std::shared_ptr<const DamageHistory> nextFrame();

 private:
  PixelSize frameSize;
  std::shared_ptr<const void> series;
  std::uint64_t number = 0;  // of the last frame
  LastDamage changedBy;
};

}  // namespace quorvin
