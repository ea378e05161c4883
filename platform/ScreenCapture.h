#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/Error.h"
#include "platform/Interface.h"

namespace quorvin {

inline constexpr std::uint32_t mediaTimeValid = 1;

// A rational time stamp or duration of value / timescale seconds.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 1;
  // The bits are those of CMTimeFlags; without mediaTimeValid it is no time at all.
  std::uint32_t flags = mediaTimeValid;
  std::int64_t epoch = 0;  // tells time lines apart, whose values cannot be compared

  friend bool operator==(const MediaTime&, const MediaTime&) = default;
};

using DisplayID = std::uint32_t;

// One captured frame in memory of the system's choosing. Immutable while anybody holds it; a
// stream keeps at most its queue depth of them alive, so holding on to one slows the stream.
class PixelBuffer : public Interface {
 public:
  [[nodiscard]] virtual std::size_t widthPx() const = 0;
  [[nodiscard]] virtual std::size_t heightPx() const = 0;
};

// What the stream says about a sample; the numbers are those of SCFrameStatus.
inline constexpr std::int64_t frameStatusComplete = 0;
inline constexpr std::int64_t frameStatusIdle = 1;
inline constexpr std::int64_t frameStatusBlank = 2;
inline constexpr std::int64_t frameStatusSuspended = 3;
inline constexpr std::int64_t frameStatusStarted = 4;
inline constexpr std::int64_t frameStatusStopped = 5;

struct SampleAttachments {
  std::optional<std::int64_t> frameStatus;  // empty: no such entry, or not an integer
};

// One delivery of a stream. Only a complete sample need carry a frame.
class CaptureSample : public Interface {
 public:
  [[nodiscard]] virtual bool isValid() const = 0;
  // Empty when the sample has no attachments array, or one that does not hold dictionaries.
  [[nodiscard]] virtual std::optional<std::vector<SampleAttachments>> attachments() const = 0;
  [[nodiscard]] virtual std::shared_ptr<PixelBuffer> imageBuffer() const = 0;  // may be null
  [[nodiscard]] virtual MediaTime presentationTimeStamp() const = 0;
};

enum class StreamOutputType { screen, audio, microphone };

// Receives the samples of a stream, on the queue given to addStreamOutput.
class StreamOutput : public Interface {
 public:
  virtual void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) = 0;
};

// Learns that the system ended the stream; any thread, at most once, never after a stop that was
// asked for has completed.
class StreamDelegate : public Interface {
 public:
  virtual void streamDidStopWithError(const Error& error) = 0;
};

inline constexpr std::uint32_t pixelFormat32BGRA = 0x42475241;  // the four characters "BGRA"

struct StreamConfiguration {
  std::int64_t width = 0;   // of the delivered frames, pixels
  std::int64_t height = 0;  // likewise
  MediaTime minimumFrameInterval;
  std::int64_t queueDepth = 0;
  bool showsCursor = false;
  std::uint32_t pixelFormat = 0;

  friend bool operator==(const StreamConfiguration&, const StreamConfiguration&) = default;
};

// A display that can be shared. Sizes are in points, the unit of the global coordinate space.
class ShareableDisplay : public Interface {
 public:
  [[nodiscard]] virtual DisplayID displayID() const = 0;
  [[nodiscard]] virtual std::int64_t widthPt() const = 0;
  [[nodiscard]] virtual std::int64_t heightPt() const = 0;
};

struct ShareableContent {
  std::vector<std::shared_ptr<ShareableDisplay>> displays;
};

// One whole display, no window excluded.
struct ContentFilter {
  std::shared_ptr<ShareableDisplay> display;
};

// A running or stopped capture of one display. Main thread, except stopCapture, which any thread
// may call. Completions and the delegate come on a thread of the system's choosing. Holding the
// stream keeps it; a stream that is released while it runs stops by itself, and still runs every
// completion it was given.
class ScreenStream : public Interface {
 public:
  [[nodiscard]] virtual std::optional<Error> addStreamOutput(
      std::weak_ptr<StreamOutput> output, StreamOutputType type,
      std::shared_ptr<DispatchQueue> sampleHandlerQueue) = 0;
  virtual void startCapture(Completion completion) = 0;
  // The completion may be empty.
  virtual void stopCapture(Completion completion) = 0;
  virtual void updateConfiguration(const StreamConfiguration& configuration,
                                   Completion completion) = 0;
};

using ShareableContentHandler =
    std::function<void(std::shared_ptr<const ShareableContent>, const std::optional<Error>&)>;

class ScreenCapture : public Interface {
 public:
  // Identifier of the display that holds the main screen, if the system can tell. Main thread.
  [[nodiscard]] virtual std::optional<DisplayID> mainScreenNumber() = 0;
  // Answers once, on any thread, with the displays in the system's order or with an error.
  virtual void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                   ShareableContentHandler handler) = 0;
  // The domain of the errors that a stream itself raises.
  [[nodiscard]] virtual std::string streamErrorDomain() = 0;
  [[nodiscard]] virtual std::shared_ptr<ScreenStream> makeStream(
      const ContentFilter& filter, const StreamConfiguration& configuration,
      std::weak_ptr<StreamDelegate> delegate) = 0;
};

}  // namespace quorvin
