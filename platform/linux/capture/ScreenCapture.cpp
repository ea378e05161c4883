#include "platform/linux/capture/ScreenCapture.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/capture/CaptureWorker.h"
#include "platform/linux/x11/X11Error.h"
#include "platform/linux/x11/X11Monitors.h"
#include "platform/linux/x11/X11Server.h"

namespace quorvin {

namespace {

Error invalid(const char* sentence) {
  return x11Error(X11ErrorCode::invalidParameter, sentence);
}

// A stream as its user holds it. The worker behind it ends by itself once the stream is released.
class LinuxScreenStream final : public ScreenStream {
 public:
  // Without a target, as when the filter named no display, the stream cannot be started.
  LinuxScreenStream(std::optional<CaptureTarget> target, const StreamConfiguration& configuration,
                    std::weak_ptr<StreamDelegate> delegate,
                    std::shared_ptr<CaptureCounters> counters)
      : hasTarget(target.has_value()),
        worker(std::make_shared<CaptureWorker>(std::move(target).value_or(CaptureTarget{}),
                                               configuration, std::move(delegate),
                                               std::move(counters))) {}
  ~LinuxScreenStream() override { worker->quit(); }

  // One output, and the screen only.
  [[nodiscard]] std::optional<Error> addStreamOutput(
      std::weak_ptr<StreamOutput> output, StreamOutputType type,
      std::shared_ptr<DispatchQueue> sampleHandlerQueue) override {
    if (type != StreamOutputType::screen) return invalid("Only the screen can be captured.");
    if (output.expired() || !sampleHandlerQueue) {
      return invalid("A capture's output needs a handler and a queue.");
    }
    if (!currentOutput.expired()) return invalid("The capture has an output already.");
    currentOutput = output;
    worker->addOutput({std::move(output), std::move(sampleHandlerQueue)});
    return {};
  }

  void startCapture(Completion completion) override {
    if (hasTarget) {
      worker->start(completion);
    } else if (completion) {
      completion(invalid("A capture needs a display to capture."));
    }
  }
  void stopCapture(Completion completion) override { worker->stop(completion); }
  void updateConfiguration(const StreamConfiguration& configuration,
                           Completion completion) override {
    worker->update(configuration, completion);
  }

 private:
  bool hasTarget;
  std::shared_ptr<CaptureWorker> worker;
  std::weak_ptr<StreamOutput> currentOutput;
};

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
  return std::make_shared<LinuxScreenStream>(std::move(target), configuration, std::move(delegate),
                                             counters);
}

}  // namespace quorvin
