#include "platform/linux/capture/ScreenCapture.h"

#include <poll.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <exception>
#include <functional>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Mutex.h"
#include "platform/linux/capture/CaptureOutput.h"
#include "platform/linux/capture/CaptureSession.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Error.h"
#include "platform/linux/x11/X11Monitors.h"

namespace quorvin {

namespace {

Error invalid(const char* sentence) {
  return x11Error(X11ErrorCode::invalidParameter, sentence);
}

void answer(const Completion& completion, const std::optional<Error>& error = {}) {
  if (completion) completion(error);
}

timespec timespecOf(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
  return {static_cast<std::time_t>(seconds.count()),
          static_cast<long>((duration - seconds).count())};  // NOLINT: the member's own type
}

// A stream and its thread, which runs the capture and, between two steps, the commands of other
// threads in their order. The thread keeps this object, so that nobody waits for it to end, and a
// completion or delegate that it calls may do anything, even release the stream.
//
// Completions run on the stream's thread, or at once if the system has no thread left.
class LinuxScreenStream final : public ScreenStream,
                                public std::enable_shared_from_this<LinuxScreenStream> {
 public:
  // What a user holds: with the last reference the capture stops and its thread ends. Without a
  // target, as when the filter named no display, the stream cannot be started.
  [[nodiscard]] static std::shared_ptr<ScreenStream> make(
      std::optional<CaptureTarget> target, const StreamConfiguration& configuration,
      std::weak_ptr<StreamDelegate> delegate, std::shared_ptr<CaptureCounters> counters) {
    const auto stream = std::make_shared<LinuxScreenStream>(
        std::move(target), configuration, std::move(delegate), std::move(counters));
    return {stream.get(), [stream](ScreenStream* /*released*/) {
              stream->quit();
            }};
  }
  LinuxScreenStream(std::optional<CaptureTarget> target, const StreamConfiguration& configuration,
                    std::weak_ptr<StreamDelegate> delegate,
                    std::shared_ptr<CaptureCounters> counters)
      : target(std::move(target)),
        delegate(std::move(delegate)),
        counters(std::move(counters)),
        configuration(configuration) {}

  // One output, and the screen only.
  [[nodiscard]] std::optional<Error> addStreamOutput(
      std::weak_ptr<StreamOutput> newOutput, StreamOutputType type,
      std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
  // Answers in any case, after two seconds with an error if the server is stuck.
  void startCapture(Completion completion) override;
  // No sample is handed out from now on, the ones in the queue included.
  void stopCapture(Completion completion) override;
  // Answers at once, since the thread may be waiting for a server that is stuck: what makes sense
  // is taken on, and counts from the next frame that is made.
  void updateConfiguration(const StreamConfiguration& newConfiguration,
                           Completion completion) override;

 private:
  using Command = std::function<void()>;

  void quit();
  void launch() QUORVIN_REQUIRES(mutex);
  // False if it could not be done, and the completion knows.
  bool post(Command command, const Completion& completion);
  void run();
  void runCommands();
  // What comes between two steps.
  struct Pause {
    CaptureTime until = CaptureTime::max();
    bool hearsServer = true;
  };
  [[nodiscard]] Pause advance();
  void wait(const Pause& pause);

  void startNow(const Completion& completion);
  void stopNow(const Completion& completion);
  void updateNow(const CaptureSettings& settings);
  void fail(const Error& error);
  [[nodiscard]] std::shared_ptr<DeliveryGate> currentGate();
  void setGate(std::shared_ptr<DeliveryGate> newGate);
  // True if this ended a run.
  bool closeGate();

  const std::optional<CaptureTarget> target;
  const std::weak_ptr<StreamDelegate> delegate;
  const std::shared_ptr<CaptureCounters> counters;
  std::weak_ptr<StreamOutput> currentOutput;  // of the user's thread

  Mutex mutex;
  std::vector<Command> commands QUORVIN_GUARDED_BY(mutex);
  // Made under the mutex when the thread is, which begins by taking it; unchanged from then on.
  std::shared_ptr<EventFd> wakeup;
  // Of the present run; changed by the stream's thread only.
  std::shared_ptr<DeliveryGate> gate QUORVIN_GUARDED_BY(mutex);

  // Of the stream's thread alone.
  StreamConfiguration configuration;
  std::optional<CaptureOutput> output;
  std::unique_ptr<CaptureSession> session;
  bool quitting = false;
};

std::optional<Error> LinuxScreenStream::addStreamOutput(
    std::weak_ptr<StreamOutput> newOutput, StreamOutputType type,
    std::shared_ptr<DispatchQueue> sampleHandlerQueue) {
  if (type != StreamOutputType::screen) return invalid("Only the screen can be captured.");
  if (newOutput.expired() || !sampleHandlerQueue) {
    return invalid("A capture's output needs a handler and a queue.");
  }
  if (!currentOutput.expired()) return invalid("The capture has an output already.");
  std::optional<Error> failure;
  post([this, added = CaptureOutput(newOutput, std::move(sampleHandlerQueue))] { output = added; },
       [&failure](const std::optional<Error>& error) { failure = error; });
  if (!failure) currentOutput = std::move(newOutput);
  return failure;
}

void LinuxScreenStream::startCapture(Completion completion) {
  if (!target) return answer(completion, invalid("A capture needs a display to capture."));
  post([this, completion] { startNow(completion); }, completion);
}

void LinuxScreenStream::stopCapture(Completion completion) {
  closeGate();
  post([this, completion] { stopNow(completion); }, completion);
}

void LinuxScreenStream::updateConfiguration(const StreamConfiguration& newConfiguration,
                                            Completion completion) {
  try {
    const auto settings = checkedSettings(newConfiguration);
    const auto command = [this, newConfiguration, settings] {
      configuration = newConfiguration;
      updateNow(settings);
    };
    if (!post(command, completion)) return;
  } catch (const Error& error) {
    return answer(completion, error);
  }
  answer(completion);
}

// Nothing is asked afterwards.
void LinuxScreenStream::quit() {
  closeGate();
  const MutexLock lock(mutex);
  if (!wakeup) return;
  commands.emplace_back([this] { quitting = true; });
  wakeup->signal();
}

bool LinuxScreenStream::post(Command command, const Completion& completion) {
  try {
    const MutexLock lock(mutex);
    if (!wakeup) launch();
    commands.push_back(std::move(command));
    wakeup->signal();
    return true;
  } catch (const Error& error) {
    answer(completion, error);
  }
  return false;
}

void LinuxScreenStream::launch() {
  std::shared_ptr<EventFd> made;
  try {
    made = std::make_shared<EventFd>();
    std::thread([self = shared_from_this()] { self->run(); }).detach();
  } catch (const std::system_error& error) {
    throw outOfResources(error);
  }
  wakeup = std::move(made);
}

void LinuxScreenStream::run() {
  pthread_setname_np(pthread_self(), "ScreenCapture");
  while (!quitting) {
    runCommands();
    if (!quitting) wait(advance());
  }
  session.reset();
  output.reset();
}

void LinuxScreenStream::runCommands() {
  std::vector<Command> batch;
  {
    const MutexLock lock(mutex);
    wakeup->clear();
    batch.swap(commands);
  }
  for (const Command& command : batch) command();
}

LinuxScreenStream::Pause LinuxScreenStream::advance() {
  if (!session) return {};
  try {
    CaptureStep step = session->step(CaptureClock::now());
    const Pause pause{step.wakeAt, step.hearsServer};
    if (output) output->deliver(std::move(step), currentGate());
    return pause;
  } catch (const Error& error) {
    fail(error);
  } catch (const std::exception& error) {
    fail(outOfResources(error));
  }
  return {};
}

void LinuxScreenStream::wait(const Pause& pause) {
  std::array<pollfd, 2> sources{pollfd{wakeup->descriptor(), POLLIN, 0}, pollfd{-1, POLLIN, 0}};
  if (session && pause.hearsServer) sources[1].fd = session->descriptor();
  if (pause.until == CaptureTime::max()) {
    ppoll(sources.data(), sources.size(), nullptr, nullptr);
    return;
  }
  const auto left = pause.until - CaptureClock::now();
  if (left <= left.zero()) return;
  const timespec timeout = timespecOf(left);
  ppoll(sources.data(), sources.size(), &timeout, nullptr);
}

void LinuxScreenStream::startNow(const Completion& completion) {
  if (session) {
    answer(completion, x11Error(X11ErrorCode::alreadyStarted, "The capture is running already."));
    return;
  }
  auto made = callWithTimeout(
      [target = *target, configuration = configuration, wakeup = wakeup, counters = counters] {
        return std::make_unique<CaptureSession>(target, checkedSettings(configuration), wakeup,
                                                counters, CaptureClock::now());
      });
  if (const auto* error = std::get_if<Error>(&made)) return answer(completion, *error);
  session = std::get<0>(std::move(made));
  setGate(std::make_shared<DeliveryGate>());
  answer(completion);
}

void LinuxScreenStream::stopNow(const Completion& completion) {
  const auto ending = currentGate();
  if (!ending) {
    answer(completion, x11Error(X11ErrorCode::notStarted, "The capture is not running."));
    return;
  }
  session.reset();
  closeGate();
  ending->waitUntilQuiet();
  setGate(nullptr);
  answer(completion);
}

void LinuxScreenStream::updateNow(const CaptureSettings& settings) {
  try {
    if (session) session->configure(settings);
  } catch (const Error& error) {
    // What could not be made is missing for the next frame too.
    fail(error);
  } catch (const std::exception& error) {
    fail(outOfResources(error));
  }
}

// A run whose gate was closed before has been asked to stop, which answers for its end.
void LinuxScreenStream::fail(const Error& error) {
  session.reset();
  if (!closeGate()) return;
  setGate(nullptr);
  if (const auto listener = delegate.lock()) listener->streamDidStopWithError(error);
}

std::shared_ptr<DeliveryGate> LinuxScreenStream::currentGate() {
  const MutexLock lock(mutex);
  return gate;
}

void LinuxScreenStream::setGate(std::shared_ptr<DeliveryGate> newGate) {
  const MutexLock lock(mutex);
  gate = std::move(newGate);
}

bool LinuxScreenStream::closeGate() {
  const MutexLock lock(mutex);
  return gate && gate->close();
}

class MonitorDisplay final : public ShareableDisplay {
 public:
  MonitorDisplay(const X11Monitor& monitor, std::shared_ptr<X11SpareServer> server)
      : server(std::move(server)), monitor(monitor) {}

  [[nodiscard]] DisplayID displayID() const override { return monitor.id; }
  [[nodiscard]] std::int64_t widthPt() const override { return monitor.area.width; }
  [[nodiscard]] std::int64_t heightPt() const override { return monitor.area.height; }

  const std::shared_ptr<X11SpareServer> server;

 private:
  const X11Monitor monitor;
};

std::shared_ptr<const ShareableContent> contentOf(const std::string& name) {
  X11Server server(name);
  auto monitors = listMonitors(server.connection, server.extensions);
  const auto primary = std::ranges::find_if(monitors, &X11Monitor::isPrimary);
  if (primary != monitors.end()) std::rotate(monitors.begin(), primary, primary + 1);
  const auto spare = std::make_shared<X11SpareServer>(std::move(server));
  auto content = std::make_shared<ShareableContent>();
  for (const X11Monitor& monitor : monitors) {
    content->displays.push_back(std::make_shared<MonitorDisplay>(monitor, spare));
  }
  return content;
}

void answerWithContent(const std::string& server, const ShareableContentHandler& handler) {
  const auto listed = callWithTimeout([server] { return contentOf(server); });
  if (const auto* error = std::get_if<Error>(&listed)) return handler(nullptr, *error);
  handler(std::get<0>(listed), {});
}

}  // namespace

LinuxScreenCapture::LinuxScreenCapture(std::string server,
                                       std::shared_ptr<CaptureCounters> counters)
    : server(std::move(server)), counters(std::move(counters)) {}

void LinuxScreenCapture::getShareableContent(bool /*excludingDesktopWindows*/,
                                             bool /*onScreenWindowsOnly*/,
                                             ShareableContentHandler handler) {
  // A server that hangs must not hang the caller, who is answered all the same.
  try {
    std::thread([server = server, handler] { answerWithContent(server, handler); }).detach();
  } catch (const std::system_error& error) {
    handler(nullptr, outOfResources(error));
  }
}

std::string LinuxScreenCapture::streamErrorDomain() {
  return std::string(x11ErrorDomain);
}

std::shared_ptr<ScreenStream> LinuxScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::weak_ptr<StreamDelegate> delegate) {
  std::optional<CaptureTarget> target;
  if (const auto* display = dynamic_cast<const MonitorDisplay*>(filter.display.get())) {
    const PixelSize size{static_cast<int>(display->widthPt()),
                         static_cast<int>(display->heightPt())};
    target = CaptureTarget{server, display->displayID(), size, display->server};
  }
  return LinuxScreenStream::make(std::move(target), configuration, std::move(delegate), counters);
}

}  // namespace quorvin
