// Any payload: its segments are found without reading beyond it, and put together again they are
// the payload.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "webui/delta/FrameDelta.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using quorvin::webui::SegmentedJpeg;
  const quorvin::Bytes payload(data, data + size);
  const auto parsed = SegmentedJpeg::parse(quorvin::Data(payload));
  if (!parsed) return 0;
  quorvin::Bytes joined(parsed->header().begin(), parsed->header().end());
  for (std::size_t i = 0; i < parsed->count(); ++i) {
    const auto segment = parsed->segment(i);
    joined.insert(joined.end(), segment.begin(), segment.end());
  }
  if (joined != payload) std::abort();
  const auto delta = quorvin::webui::deltaBetween(*parsed, *parsed, 1);
  if (delta && delta->size() != 16) std::abort();
  return 0;
}
