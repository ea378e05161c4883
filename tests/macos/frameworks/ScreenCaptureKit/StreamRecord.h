#pragma once

#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#include <mutex>

// What the record of a stream has its SCStream do.
@interface SCStream (StandIn)
- (void)deliverSample:(id)sample ofType:(SCStreamOutputType)type;
- (void)reportStopWithError:(NSError*)error;
@end

namespace standin {

// The state of one SCStream, which outlives it.
class StreamRecord final : public CaptureStream {
 public:
  StreamRecord(CGDirectDisplayID displayID, std::size_t excludedWindows,
               const StreamSettings& settings)
      : display(displayID), excluded(excludedWindows), allSettings{settings} {}

  // ---- for the test ----
  [[nodiscard]] bool isAlive() const override;
  [[nodiscard]] bool isRunning() const override;
  [[nodiscard]] CGDirectDisplayID displayID() const override { return display; }
  [[nodiscard]] std::size_t excludedWindows() const override { return excluded; }
  [[nodiscard]] std::vector<StreamSettings> settings() const override;
  [[nodiscard]] std::size_t framesHeld() const override;
  bool sendSample(const SampleScript& script) override;
  void stopWithError(const ErrorScript& error) override;
  void leaveSampleBehind() override;

  // ---- for the SCStream ----
  void attach(SCStream* owner);
  [[nodiscard]] id detach();  // it is being released; the sample that it leaves behind, or nil
  // The error that the request is answered with, or nil when it was carried out.
  NSError* start(bool isToBeAnswered);
  void noteStartAnswered();
  NSError* stop();
  NSError* update(const StreamSettings& settings);

 private:
  NSError* refuse(CaptureRequest request, bool isAllowed, SCStreamErrorCode code,
                  const char* operation);
  // For settings that the documentation rules out, but that only the system can tell.
  NSError* refuseDepth(const StreamSettings& settings) const;
  std::size_t countFrames() const;  // with the lock held

  const CGDirectDisplayID display;
  const std::size_t excluded;
  mutable std::mutex mutex;
  bool isAttached = false;
  bool running = false;
  bool startIsUnanswered = false;
  bool leavesSample = false;
  std::vector<StreamSettings> allSettings;
  std::vector<std::weak_ptr<const void>> frames;
  __weak SCStream* stream;
};

}  // namespace standin
