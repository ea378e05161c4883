#include "tests/linux/capture/CaptureHarness.h"

#include <future>

namespace quorvin {

namespace {

std::vector<std::string> withoutReset(std::vector<std::string> options) {
  // Otherwise the server forgets everything whenever its last client leaves.
  options.emplace_back("-noreset");
  return options;
}

}  // namespace

CaptureHarness::CaptureHarness(std::vector<std::string> options, Way toServer)
    : server(withoutReset(std::move(options))),
      painter(server.display()),
      proxy(toServer == Way::throughProxy ? std::make_unique<X11Proxy>(server.display()) : nullptr),
      capture(proxy ? proxy->display() : server.display(), counters) {}

StreamConfiguration CaptureHarness::usualConfiguration() {
  return {320, 240, {1, 30}, 3, false, pixelFormat32BGRA};
}

std::vector<std::shared_ptr<ShareableDisplay>> CaptureHarness::displays() {
  std::promise<std::shared_ptr<const ShareableContent>> answer;
  capture.getShareableContent(true, true, [&](auto content, const auto& /*error*/) {
    answer.set_value(std::move(content));
  });
  const auto content = answer.get_future().get();
  return content ? content->displays : std::vector<std::shared_ptr<ShareableDisplay>>{};
}

void CaptureHarness::makeStream(const StreamConfiguration& configuration) {
  stream = capture.makeStream({displays().front()}, configuration, delegate);
  static_cast<void>(stream->addStreamOutput(recorder, StreamOutputType::screen, queue));
}

bool CaptureHarness::start(const StreamConfiguration& configuration) {
  makeStream(configuration);
  Answer started;
  stream->startCapture(started.completion());
  return started.wait() && !started.error();
}

bool CaptureHarness::stop() {
  Answer stopped;
  stream->stopCapture(stopped.completion());
  return stopped.wait() && !stopped.error();
}

void CaptureHarness::drainQueue() {
  std::promise<void> reached;
  queue->async([&reached] { reached.set_value(); });
  reached.get_future().wait();
}

}  // namespace quorvin
