#include "Runner/QuorvinScreenCapture.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "Runner/PictureSettings.h"
#include "platform/Fatal.h"

namespace quorvin {

namespace {

constexpr auto captureErrorDomain = "com.quorvin.support.capture";

Error noDisplayError() {
  return {captureErrorDomain, 1, "No display is available to share."};
}

Error captureStoppedError() {
  return {captureErrorDomain, 2, "Support was stopped."};
}

Error captureStalledError() {
  return {captureErrorDomain, 3, "ScreenCaptureKit stopped delivering capture samples."};
}

constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t stallLimitNs = 6 * nanosecondsPerSecond;
constexpr std::uint64_t watchdogIntervalNs = 2 * nanosecondsPerSecond;
constexpr std::uint64_t watchdogLeewayNs = 250'000'000;

std::shared_ptr<ShareableDisplay> preferredOrFirst(const ShareableContent& content,
                                                   std::optional<DisplayID> preferred) {
  const auto match = std::ranges::find_if(content.displays, [&](const auto& display) {
    return preferred && display->displayID() == *preferred;
  });
  return match == content.displays.end() ? content.displays.front() : *match;
}

// Whether the sample's own description says that it carries a complete frame.
bool isComplete(const CaptureSample& sample) {
  const auto attachments = sample.attachments();
  return attachments && !attachments->empty() &&
         attachments->front().frameStatus == frameStatusComplete;
}

}  // namespace

QuorvinScreenCapture::QuorvinScreenCapture()
    : platform(unimplementedInitializer("Quorvin_Support.QuorvinScreenCapture")) {}

QuorvinScreenCapture::QuorvinScreenCapture(Platform& platform, OnStop onStop, EmitFrame emitFrame)
    : platform(platform),
      emitFrame(std::move(emitFrame)),
      captureQueue(platform.dispatch.makeSerialQueue("com.quorvin.support.capture",
                                                     QualityOfService::userInteractive)),
      imageContext(platform.imageEncoder.makeContext(/*cacheIntermediates=*/false)),
      lastSampleAt(platform.dispatch.uptimeNanoseconds()),
      onStop(std::move(onStop)) {}

std::shared_ptr<QuorvinScreenCapture> QuorvinScreenCapture::make(Platform& platform, OnStop onStop,
                                                                 EmitFrame emitFrame) {
  struct Ownership {
    explicit Ownership(std::shared_ptr<QuorvinScreenCapture> owned) : capture(std::move(owned)) {}
    Ownership(const Ownership&) = delete;
    Ownership& operator=(const Ownership&) = delete;
    ~Ownership() { capture->abandon(); }
    std::shared_ptr<QuorvinScreenCapture> capture;
  };
  const auto ownership = std::make_shared<Ownership>(
      std::make_shared<QuorvinScreenCapture>(platform, std::move(onStop), std::move(emitFrame)));
  return {ownership, ownership->capture.get()};
}

void QuorvinScreenCapture::abandon() {
  // Weakly: without an encoder the capture ends right here.
  captureQueue->async([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self == nullptr) return;
    self->markStopped();  // or a sample on its way would have a new encoder made
    self->dropH264Encoder();
  });
}

void QuorvinScreenCapture::start(Completion completion) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  const auto preferredDisplay = platform.screenCapture.mainScreenNumber();
  platform.screenCapture.getShareableContent(
      /*excludingDesktopWindows=*/true, /*onScreenWindowsOnly=*/true,
      [weak = weak_from_this(), mainQueue = platform.dispatch.mainQueue(), preferredDisplay,
       completion = std::move(completion)](std::shared_ptr<const ShareableContent> content,
                                           const std::optional<Error>& error) {
        mainQueue->async([weak, preferredDisplay, completion, content = std::move(content), error] {
          if (auto self = weak.lock()) {
            self->startWithContent(preferredDisplay, content.get(), error, completion);
          }
        });
      });
}

void QuorvinScreenCapture::startWithContent(std::optional<DisplayID> preferredDisplay,
                                            const ShareableContent* content,
                                            const std::optional<Error>& error,
                                            const Completion& completion) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  if (isStopped()) return completion(captureStoppedError());
  if (error) return completion(error);
  if (content == nullptr || content->displays.empty()) return completion(noDisplayError());

  const auto display = preferredOrFirst(*content, preferredDisplay);
  chooseDisplay(display);
  startStream(display, completion);
}

void QuorvinScreenCapture::chooseDisplay(const std::shared_ptr<ShareableDisplay>& display) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  capturedDisplayID = display->displayID();
  displayWidth = display->widthPt();
  displayHeight = display->heightPt();
}

void QuorvinScreenCapture::startStream(const std::shared_ptr<ShareableDisplay>& display,
                                       const Completion& completion) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  const auto newStream = platform.screenCapture.makeStream(
      ContentFilter{display},
      makeStreamConfiguration(currentSettings(), displayWidth, displayHeight), weak_from_this());
  if (const auto error =
          newStream->addStreamOutput(weak_from_this(), StreamOutputType::screen, captureQueue)) {
    return completion(error);
  }
  {
    // A stream held before is released here without being stopped, after the lock is gone.
    auto replaced = newStream;
    const MutexLock lock(sharedLock);
    std::swap(stream, replaced);
  }
  newStream->startCapture([weak = weak_from_this(), completion](const std::optional<Error>& error) {
    if (const auto self = weak.lock(); self && !error) {
      self->captureQueue->async([weak] {
        if (auto capture = weak.lock()) capture->startSampleWatchdog();
      });
    }
    completion(error);
  });
}

void QuorvinScreenCapture::configure(const PictureSettings& newSettings, Completion completion) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  if (isStopped()) return completion(captureStoppedError());

  captureQueue->async([weak = weak_from_this(), newSettings] {
    const auto self = weak.lock();
    if (self == nullptr) return;
    {
      const MutexLock lock(self->sharedLock);
      self->settings = newSettings;
    }
    self->dropH264Encoder();  // the next frame makes one with the new settings
  });
  const auto running = heldStream();
  if (running == nullptr) return completion(std::nullopt);

  // From the arguments, not from the fields: those may not have been written yet.
  running->updateConfiguration(
      makeStreamConfiguration(newSettings, displayWidth, displayHeight),
      [weak = weak_from_this(), jpegQuality = newSettings.jpegQuality,
       completion = std::move(completion)](const std::optional<Error>& error) {
        if (const auto self = weak.lock(); self && !error) {
          self->captureQueue->async([weak, jpegQuality] {
            if (auto capture = weak.lock()) {
              const MutexLock lock(capture->sharedLock);
              capture->settings.jpegQuality = jpegQuality;
            }
          });
        }
        completion(error);
      });
}

void QuorvinScreenCapture::stop() {
  assert(platform.dispatch.mainQueue()->isCurrent());
  markStopped();
  // Held strongly: encoder and timer belong to the capture queue and must be taken down there, even
  // when the owner lets go of the capture right after this call.
  captureQueue->async([self = shared_from_this()] {
    self->dropH264Encoder();
    self->cancelSampleWatchdog();
  });
  if (const auto running = takeStream()) running->stopCapture({});
}

void QuorvinScreenCapture::streamDidStopWithError(const Error& error) {
  platform.dispatch.mainQueue()->async([weak = weak_from_this(), error] {
    if (auto self = weak.lock()) self->endAfterSystemStop(error);
  });
}

void QuorvinScreenCapture::endAfterSystemStop(const Error& error) {
  assert(platform.dispatch.mainQueue()->isCurrent());
  const auto ended = takeStream();
  const bool endedHere = markStopped();
  // The encoder stays: it goes when the owner lets go of the capture.
  captureQueue->async([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->cancelSampleWatchdog();
  });
  if (endedHere) onStop(error);
}

void QuorvinScreenCapture::startSampleWatchdog() {
  assert(captureQueue->isCurrent());
  cancelSampleWatchdog();
  lastSampleAt = platform.dispatch.uptimeNanoseconds();
  sampleWatchdog = platform.dispatch.makeTimer(captureQueue);
  sampleWatchdog->schedule(lastSampleAt + stallLimitNs, watchdogIntervalNs, watchdogLeewayNs);
  sampleWatchdog->setEventHandler([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->watchdogTick();
  });
  sampleWatchdog->resume();
}

void QuorvinScreenCapture::cancelSampleWatchdog() {
  assert(captureQueue->isCurrent());
  if (sampleWatchdog == nullptr) return;
  sampleWatchdog->cancel();
  sampleWatchdog.reset();
}

bool QuorvinScreenCapture::stalled() {
  assert(captureQueue->isCurrent());
  if (isStopped()) return false;
  const auto now = platform.dispatch.uptimeNanoseconds();
  return heldStream() != nullptr && lastSampleAt <= now && now - lastSampleAt >= stallLimitNs;
}

void QuorvinScreenCapture::watchdogTick() {
  assert(captureQueue->isCurrent());
  // Another ending may come between the two; whoever sets the flag reports.
  if (!stalled() || !markStopped()) return;
  const auto silent = takeStream();
  cancelSampleWatchdog();
  dropH264Encoder();
  if (silent != nullptr) silent->stopCapture({});
  onStop(captureStalledError());
}

void QuorvinScreenCapture::streamDidOutputSample(const CaptureSample& sample,
                                                 StreamOutputType type) {
  assert(captureQueue->isCurrent());
  // First of all, since any sample at all proves that the stream is alive.
  lastSampleAt = platform.dispatch.uptimeNanoseconds();
  if (isStopped() || type != StreamOutputType::screen || !sample.isValid() || !isComplete(sample)) {
    return;
  }
  const auto frame = sample.imageBuffer();
  if (frame == nullptr) return;

  if (requestedCodec() == "h264" && encodeH264(frame, sample.presentationTimeStamp())) return;
  encodeJPEG(*frame);
}

bool QuorvinScreenCapture::encodeH264(const std::shared_ptr<PixelBuffer>& frame,
                                      MediaTime presentationTimeStamp) {
  assert(captureQueue->isCurrent());
  const auto width = static_cast<std::int64_t>(frame->widthPx());
  const auto height = static_cast<std::int64_t>(frame->heightPx());
  if (h264Encoder == nullptr || h264Encoder->width != width || h264Encoder->height != height) {
    dropH264Encoder();  // first, so that the old one's last payloads come before any of the new
    makeH264Encoder(width, height);
  }
  if (h264Encoder == nullptr) return false;
  h264Encoder->encode(frame, presentationTimeStamp);
  return true;
}

void QuorvinScreenCapture::makeH264Encoder(std::int64_t width, std::int64_t height) {
  assert(captureQueue->isCurrent());
  const auto current = currentSettings();
  try {
    // The sink holds the capture strongly: there is one for as long as anything can come out.
    h264Encoder = std::make_shared<QuorvinH264Encoder>(
        platform.videoEncoder, width, height, current.fps, current.bitrateMbps,
        [self = shared_from_this()](Data payload) { self->deliverLatest(std::move(payload)); });
  } catch (const Error&) {
    // JPEG it is, for this frame and until the next configure, without a word.
    const MutexLock lock(sharedLock);
    settings.codec = "jpeg";
  }
}

void QuorvinScreenCapture::dropH264Encoder() {
  assert(captureQueue->isCurrent());
  if (h264Encoder == nullptr) return;
  h264Encoder->end();
  h264Encoder.reset();
}

void QuorvinScreenCapture::encodeJPEG(const PixelBuffer& frame) {
  assert(captureQueue->isCurrent());
  const double factor = static_cast<double>(currentSettings().jpegQuality) / 100.0;
  if (auto file = imageContext->jpegRepresentation(frame, factor)) {
    deliverLatest(std::move(*file));
  }
}

void QuorvinScreenCapture::deliverLatest(Data payload) {
  std::optional<Data> replaced;  // let go of after the lock, since its owner may do anything then
  {
    const MutexLock lock(frameLock);
    if (stopped) return;
    replaced = std::exchange(pendingFrame, std::move(payload));
    if (deliveryScheduled) return;  // the delivery under way picks up this newer one
    deliveryScheduled = true;
  }
  platform.dispatch.mainQueue()->async([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->deliverPendingFrame();
  });
}

void QuorvinScreenCapture::deliverPendingFrame() {
  assert(platform.dispatch.mainQueue()->isCurrent());
  std::optional<Data> payload;
  {
    const MutexLock lock(frameLock);
    std::swap(payload, pendingFrame);  // empty once the capture has stopped
    deliveryScheduled = false;
  }
  if (payload) emitFrame(std::move(*payload));
}

bool QuorvinScreenCapture::isStopped() {
  const MutexLock lock(frameLock);
  return stopped;
}

bool QuorvinScreenCapture::markStopped() {
  std::optional<Data> dropped;  // let go of after the lock
  const MutexLock lock(frameLock);
  std::swap(dropped, pendingFrame);
  return !std::exchange(stopped, true);
}

std::shared_ptr<ScreenStream> QuorvinScreenCapture::heldStream() {
  const MutexLock lock(sharedLock);
  return stream;
}

std::shared_ptr<ScreenStream> QuorvinScreenCapture::takeStream() {
  const MutexLock lock(sharedLock);
  return std::exchange(stream, nullptr);
}

PictureSettings QuorvinScreenCapture::currentSettings() {
  const MutexLock lock(sharedLock);
  return settings;
}

std::string QuorvinScreenCapture::requestedCodec() {
  const MutexLock lock(sharedLock);
  return settings.codec;
}

}  // namespace quorvin
