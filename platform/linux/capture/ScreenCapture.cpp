#include "platform/linux/capture/ScreenCapture.h"

#include <algorithm>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/capture/ScreenCaptureErrors.h"
#include "platform/linux/capture/ScreenCaptureStream.h"
#include "platform/linux/capture/X11Monitors.h"

namespace quorvin {

namespace {

class MonitorDisplay final : public ShareableDisplay {
 public:
  explicit MonitorDisplay(const X11Monitor& monitor) : monitor(monitor) {}

  [[nodiscard]] DisplayID displayID() const override { return monitor.id; }
  [[nodiscard]] std::int64_t widthPt() const override { return monitor.area.width; }
  [[nodiscard]] std::int64_t heightPt() const override { return monitor.area.height; }

 private:
  const X11Monitor monitor;
};

std::vector<X11Monitor> monitorsOf(const std::string& server) {
  X11Connection connection(server);
  return listMonitors(connection, X11Extensions::negotiate(connection));
}

std::shared_ptr<const ShareableContent> contentOf(const std::string& server) {
  auto content = std::make_shared<ShareableContent>();
  for (const X11Monitor& monitor : monitorsOf(server)) {
    content->displays.push_back(std::make_shared<MonitorDisplay>(monitor));
  }
  return content;
}

void answerWithContent(const std::string& server, const ShareableContentHandler& handler) {
  std::shared_ptr<const ShareableContent> content;
  try {
    content = contentOf(server);
  } catch (const Error& error) {
    handler(nullptr, error);
    return;
  }
  handler(std::move(content), {});
}

}  // namespace

LinuxScreenCapture::LinuxScreenCapture(std::string server,
                                       std::shared_ptr<CaptureCounters> counters)
    : server(std::move(server)), counters(std::move(counters)) {}

std::optional<DisplayID> LinuxScreenCapture::mainScreenNumber() {
  try {
    const auto monitors = monitorsOf(server);
    const auto primary = std::ranges::find_if(monitors, &X11Monitor::isPrimary);
    if (primary != monitors.end()) return primary->id;
  } catch (const Error&) {
    // Whoever asks for the displays next gets to know why.
  }
  return {};
}

void LinuxScreenCapture::getShareableContent(bool /*excludingDesktopWindows*/,
                                             bool /*onScreenWindowsOnly*/,
                                             ShareableContentHandler handler) {
  // A server that hangs must not hang the caller.
  try {
    std::thread([server = server, handler] { answerWithContent(server, handler); }).detach();
  } catch (const std::system_error& error) {
    handler(nullptr, outOfResources(error));
  }
}

std::string LinuxScreenCapture::streamErrorDomain() {
  return std::string(screenCaptureErrorDomain);
}

std::shared_ptr<ScreenStream> LinuxScreenCapture::makeStream(
    const ContentFilter& filter, const StreamConfiguration& configuration,
    std::weak_ptr<StreamDelegate> delegate) {
  std::optional<CaptureTarget> target;
  if (filter.display) target = CaptureTarget{server, filter.display->displayID()};
  return std::make_shared<LinuxScreenStream>(std::move(target), configuration, std::move(delegate),
                                             counters);
}

}  // namespace quorvin
