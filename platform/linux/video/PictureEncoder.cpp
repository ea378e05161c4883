#include "platform/linux/video/PictureEncoder.h"

namespace quorvin {

PictureEncoder::PictureEncoder(PixelSize captured)
    : converted(captured), library(converted.size(), settings.expectedRate) {}

void PictureEncoder::configure(const EncoderSettings& newSettings) {
  if (newSettings == settings) return;
  if (newSettings.expectedRate != settings.expectedRate) {
    library = H264Library(converted.size(), newSettings.expectedRate);
  }
  if (newSettings.averageBitRate && newSettings.averageBitRate != settings.averageBitRate) {
    rateControl.setBitRate(*newSettings.averageBitRate);
  }
  settings = newSettings;
}

std::optional<EncodedPicture> PictureEncoder::encode(const CapturedPixelBuffer& picture,
                                                     std::chrono::nanoseconds timeStamp) {
  std::span<const std::uint8_t> units;
  if (const auto quantiser = rateControl.begin(timeStamp, picture.isRepeat())) {
    converted.convert(picture);
    units = encodeWithinBudget(*quantiser);
  }
  if (const auto wait = rateControl.repeatAfter()) picture.askForRepeat(*wait);
  if (units.empty()) return {};
  return EncodedPicture{units, library.sequenceParameterSet(), library.pictureParameterSet()};
}

std::span<const std::uint8_t> PictureEncoder::encodeWithinBudget(int quantiser) {
  while (true) {
    const auto units = library.encode(converted, quantiser);
    if (units.empty()) return {};
    const auto verdict = rateControl.judge(sizeAtReceiver(units));
    if (verdict.action == RateControl::Action::keep) return units;
    if (verdict.action == RateControl::Action::drop) return {};
    quantiser = verdict.quantiser;
  }
}

// Every picture goes out with its parameter sets.
std::size_t PictureEncoder::sizeAtReceiver(std::span<const std::uint8_t> units) const {
  constexpr std::size_t startCodes = 8;
  return units.size() + library.sequenceParameterSet().size() +
         library.pictureParameterSet().size() + startCodes;
}

}  // namespace quorvin
