#include "platform/linux/video/FrameEncoder.h"

namespace quorvin {

FrameEncoder::FrameEncoder(PixelSize captured)
    : converted(captured), library(converted.size(), settings.expectedRate) {}

void FrameEncoder::configure(const EncoderSettings& newSettings) {
  if (newSettings == settings) return;
  if (newSettings.expectedRate != settings.expectedRate) {
    library = H264Library(converted.size(), newSettings.expectedRate);
  }
  if (newSettings.averageBitRate && newSettings.averageBitRate != settings.averageBitRate) {
    rateControl.setBitRate(*newSettings.averageBitRate);
  }
  settings = newSettings;
}

std::optional<EncodedFrame> FrameEncoder::encode(const CapturedFrame& frame,
                                                 std::chrono::nanoseconds timeStamp) {
  std::span<const std::uint8_t> units;
  if (const auto qp = rateControl.begin(timeStamp, frame.isRefresh())) {
    converted.convert(frame);
    units = encodeWithinBudget(*qp);
  }
  if (const auto wait = rateControl.refreshAfter()) frame.requestRefresh(*wait);
  if (units.empty()) return {};
  return EncodedFrame{units, library.sequenceParameterSet(), library.pictureParameterSet()};
}

std::span<const std::uint8_t> FrameEncoder::encodeWithinBudget(int qp) {
  while (true) {
    const auto units = library.encode(converted, qp);
    if (units.empty()) return {};
    const auto verdict = rateControl.judge(sizeAtReceiver(units));
    if (verdict.action == RateControl::Action::keep) return units;
    if (verdict.action == RateControl::Action::drop) return {};
    qp = verdict.qp;
  }
}

// Every frame goes out with its parameter sets.
std::size_t FrameEncoder::sizeAtReceiver(std::span<const std::uint8_t> units) const {
  constexpr std::size_t startCodes = 8;
  return units.size() + library.sequenceParameterSet().size() +
         library.pictureParameterSet().size() + startCodes;
}

}  // namespace quorvin
