#pragma once

#import <CoreVideo/CoreVideoControl.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace standin {

// How a test plays the system behind ScreenCaptureKit. Any thread, unless said otherwise.

struct DisplayScript {
  CGDirectDisplayID displayID = 0;
  NSInteger width = 0;   // points
  NSInteger height = 0;  // points
};

struct ErrorScript {
  std::string domain;
  NSInteger code = 0;
  std::string description;
};

// An error of ScreenCaptureKit's own domain.
ErrorScript streamError(SCStreamErrorCode code, std::string description = "The stream failed.");

struct ShareableContentScript {
  bool hasContent = true;
  std::vector<DisplayScript> displays{};
  std::optional<ErrorScript> error{};
};

// The answer to every question for shareable content; after a reset there is content without a
// display.
void setShareableContent(ShareableContentScript content);

enum class CaptureRequest { addOutput, start, stop, update };

// The next request of this kind is refused with the error; repeated calls queue up.
void failNext(CaptureRequest request, ErrorScript error);

// Answers to completion handlers come on a system thread at once, or, while they are held, one by
// one when the test lets them go. The handlers of a stream that was released meanwhile are never
// run: nothing promises that a Mac would. A stream whose start has a handler is not to be stopped
// before that has been called, which some error of a Mac's seems to say; nothing promises better.
void holdAnswers();
[[nodiscard]] std::size_t heldAnswers();
void releaseOldestAnswer();
void releaseNewestAnswer();
void releaseAnswers();  // all of them, oldest first, and those that follow come at once again

// Requests that the state of their stream does not allow. They are answered with an error, as on a
// Mac, so that a test has to ask: "-[SCStream stopCaptureWithCompletionHandler:]".
[[nodiscard]] std::vector<std::string> requestsInWrongState();

struct StreamSettings {
  std::size_t width = 1920;
  std::size_t height = 1080;
  std::int64_t intervalValue = 1;
  std::int32_t intervalTimescale = 60;
  std::int64_t queueDepth = 8;
  bool showsCursor = true;
  OSType pixelFormat = kCVPixelFormatType_32BGRA;

  friend bool operator==(const StreamSettings&, const StreamSettings&) = default;
};

// One attachments dictionary with this under SCStreamFrameInfoStatus, which need not be a number.
id attachmentsWithStatus(id status);

struct PixelSize {
  std::size_t width = 0;
  std::size_t height = 0;
};

struct SampleScript {
  bool isValid = true;
  id attachments = attachmentsWithStatus(@(SCFrameStatusComplete));
  bool hasFrame = true;
  Colour colour{};
  CMTime presentationTimeStamp = kCMTimeZero;
  SCStreamOutputType type = SCStreamOutputTypeScreen;
  std::optional<PixelSize> size{};  // unless it is that of the newest settings
};

// One SCStream, for as long as the test likes; it does not keep the SCStream.
class CaptureStream {
 public:
  CaptureStream(const CaptureStream&) = delete;
  CaptureStream& operator=(const CaptureStream&) = delete;
  virtual ~CaptureStream() = default;

  [[nodiscard]] virtual bool isAlive() const = 0;  // not released yet
  // Started and neither stopped nor ended by the system. One that is released meanwhile goes on,
  // which is a violation: some report that a Mac goes on capturing then.
  [[nodiscard]] virtual bool isRunning() const = 0;
  [[nodiscard]] virtual CGDirectDisplayID displayID() const = 0;
  [[nodiscard]] virtual std::size_t excludedWindows() const = 0;
  // As it was made, then as every update left it.
  [[nodiscard]] virtual std::vector<StreamSettings> settings() const = 0;
  // Frames of this stream that somebody still holds.
  [[nodiscard]] virtual std::size_t framesHeld() const = 0;

  // Delivers a sample to the outputs of its type. False if it was dropped: the stream does not run,
  // or as many frames are held as its queue is deep.
  virtual bool sendSample(const SampleScript& script) = 0;
  // Ends the stream by the system's will and tells the delegate on a system thread.
  virtual void stopWithError(const ErrorScript& error) = 0;
  // Has a sample without a frame on its way to the outputs when the SCStream is released.
  virtual void leaveSampleBehind() = 0;

 protected:
  CaptureStream() = default;
};

// Every stream made since the reset, oldest first.
[[nodiscard]] std::vector<std::shared_ptr<CaptureStream>> captureStreams();

// Forgets all of the above. Answers that are still held are dropped.
void resetScreenCaptureKit();

}  // namespace standin
