#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Runner/PictureSettings.h"
#include "Runner/QuorvinH264Encoder.h"
#include "platform/Mutex.h"
#include "platform/Platform.h"

namespace quorvin {

// One capture of one whole display, for one support session. Picks the display, runs the stream,
// turns each complete sample into a payload and hands on only the newest; ends by itself when the
// system stops the stream or no sample arrives for six seconds.
//
// Owned by the host bridge through what `make` returns; everything deferred holds the capture
// weakly, except where a comment says why not. Once it has ended it cannot be started again.
class QuorvinScreenCapture final : public StreamOutput,
                                   public StreamDelegate,
                                   public std::enable_shared_from_this<QuorvinScreenCapture> {
 public:
  // Reports, at most once, that the capture ended without having been asked to. Main thread or
  // capture queue.
  using OnStop = std::function<void(const Error&)>;
  // Receives each delivered payload. Main thread.
  using EmitFrame = std::function<void(Data)>;

  QuorvinScreenCapture();  // not available: stops the process
  QuorvinScreenCapture(Platform& platform, OnStop onStop, EmitFrame emitFrame);
  // A capture for an owner who may let go of it without a stop. An encoder at work holds its
  // capture, so that the last owner's reference has to end more than itself: the encoder goes with
  // it, on the capture queue, and the capture after that. Main thread, also for letting go.
  [[nodiscard]] static std::shared_ptr<QuorvinScreenCapture> make(Platform& platform, OnStop onStop,
                                                                  EmitFrame emitFrame);

  // Main thread. The completion comes on the main thread or on one of the system's.
  void start(Completion completion);
  // Main thread. Stores the settings and applies them to a running stream. The completion comes at
  // once or on a thread of the system's.
  void configure(const PictureSettings& settings, Completion completion);
  // Main thread. Ends the capture quietly; may be called any number of times.
  void stop();
  // Main thread. The display being captured; empty before the first successful choice.
  [[nodiscard]] std::optional<DisplayID> displayID() const { return capturedDisplayID; }

  // From the stream: samples on the capture queue, a stop on any thread.
  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override;
  void streamDidStopWithError(const Error& error) override;

  // The codec that the next sample will be encoded with. Any thread.
  [[nodiscard]] std::string requestedCodec();

 private:
  // Main thread.
  void startWithContent(std::optional<DisplayID> preferredDisplay, const ShareableContent* content,
                        const std::optional<Error>& error, const Completion& completion);
  void chooseDisplay(const std::shared_ptr<ShareableDisplay>& display);
  void startStream(const std::shared_ptr<ShareableDisplay>& display, const Completion& completion);
  void endAfterSystemStop(const Error& error);
  void deliverPendingFrame();

  // Capture queue.
  void startSampleWatchdog();
  void watchdogTick();
  void cancelSampleWatchdog();
  [[nodiscard]] bool stalled();
  // False when there is no encoder to be had.
  [[nodiscard]] bool encodeH264(const std::shared_ptr<PixelBuffer>& frame,
                                MediaTime presentationTimeStamp);
  void makeH264Encoder(std::int64_t width, std::int64_t height);
  void dropH264Encoder();
  void encodeJPEG(const PixelBuffer& frame);

  // Any thread.
  void abandon();
  void deliverLatest(Data payload);
  [[nodiscard]] bool isStopped();
  // Sets the stopped flag and drops the pending frame; true when the flag was not set before.
  bool markStopped();
  [[nodiscard]] std::shared_ptr<ScreenStream> heldStream();
  [[nodiscard]] std::shared_ptr<ScreenStream> takeStream();
  [[nodiscard]] PictureSettings currentSettings();

  Platform& platform;
  EmitFrame emitFrame;
  std::shared_ptr<DispatchQueue> captureQueue;
  std::unique_ptr<ImageContext> imageContext;  // capture queue

  Mutex sharedLock;  // never held across a call out
  std::shared_ptr<ScreenStream> stream QUORVIN_GUARDED_BY(sharedLock);
  PictureSettings settings QUORVIN_GUARDED_BY(sharedLock);  // written on the capture queue only

  std::unique_ptr<DispatchTimer> sampleWatchdog;    // capture queue
  std::uint64_t lastSampleAt = 0;                   // uptime nanoseconds; capture queue
  std::shared_ptr<QuorvinH264Encoder> h264Encoder;  // capture queue

  std::optional<DisplayID> capturedDisplayID;  // main thread, like the two sizes, in points
  std::int64_t displayWidth = 0;
  std::int64_t displayHeight = 0;

  OnStop onStop;

  Mutex frameLock;  // never held across a call out
  bool stopped QUORVIN_GUARDED_BY(frameLock) = false;
  std::optional<Data> pendingFrame QUORVIN_GUARDED_BY(frameLock);
  bool deliveryScheduled QUORVIN_GUARDED_BY(frameLock) = false;
};

}  // namespace quorvin
