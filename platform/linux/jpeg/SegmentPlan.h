#pragma once

#include <vector>

#include "platform/linux/frame/RowHistory.h"
#include "platform/linux/jpeg/JpegForm.h"

namespace quorvin {

// The segments of a picture of that form in which a pixel may differ from the earlier picture of
// the same form, as rectangles from top to bottom that have no segment in common.
[[nodiscard]] std::vector<SegmentRect> changedSegments(const RowHistory& picture,
                                                       const RowHistory& earlier,
                                                       const JpegForm& form);

[[nodiscard]] SegmentRect allSegments(const JpegForm& form);

[[nodiscard]] int countSegments(const std::vector<SegmentRect>& rects);

// The same segments, with rectangles that hold more than so many cut into pieces of whole rows of
// about the same height.
[[nodiscard]] std::vector<SegmentRect> cutRects(const std::vector<SegmentRect>& rects, int most);

}  // namespace quorvin
