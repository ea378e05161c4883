#include "platform/linux/capture/CaptureWorker.h"

#include <poll.h>
#include <pthread.h>

#include <array>
#include <chrono>
#include <ctime>
#include <exception>
#include <thread>
#include <utility>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

void answer(const Completion& completion, const std::optional<Error>& error = {}) {
  if (completion) completion(error);
}

timespec timespecOf(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
  return {static_cast<std::time_t>(seconds.count()),
          static_cast<long>((duration - seconds).count())};  // NOLINT: the member's own type
}

}  // namespace

CaptureWorker::CaptureWorker(CaptureTarget target, const StreamConfiguration& configuration,
                             std::weak_ptr<StreamDelegate> delegate,
                             std::shared_ptr<CaptureCounters> counters)
    : target(std::move(target)),
      delegate(std::move(delegate)),
      counters(std::move(counters)),
      configuration(configuration) {}

void CaptureWorker::addOutput(CaptureOutput newOutput) {
  post([this, newOutput = std::move(newOutput)] { output = newOutput; }, {});
}

void CaptureWorker::start(const Completion& completion) {
  post([this, completion] { startNow(completion); }, completion);
}

void CaptureWorker::stop(const Completion& completion) {
  closeGate();
  post([this, completion] { stopNow(completion); }, completion);
}

void CaptureWorker::update(const StreamConfiguration& newConfiguration,
                           const Completion& completion) {
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

void CaptureWorker::quit() {
  closeGate();
  const MutexLock lock(mutex);
  if (!wakeup) return;
  commands.emplace_back([this] { quitting = true; });
  wakeup->signal();
}

bool CaptureWorker::post(Command command, const Completion& completion) {
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

void CaptureWorker::launch() {
  std::shared_ptr<EventFd> made;
  try {
    made = std::make_shared<EventFd>();
    std::thread([self = shared_from_this()] { self->run(); }).detach();
  } catch (const std::system_error& error) {
    throw outOfResources(error);
  }
  wakeup = std::move(made);
}

void CaptureWorker::run() {
  pthread_setname_np(pthread_self(), "ScreenCapture");
  while (!quitting) {
    runCommands();
    if (!quitting) wait(advance());
  }
  session.reset();
  output.reset();
}

void CaptureWorker::runCommands() {
  std::vector<Command> batch;
  {
    const MutexLock lock(mutex);
    wakeup->clear();
    batch.swap(commands);
  }
  for (const Command& command : batch) command();
}

CaptureWorker::Pause CaptureWorker::advance() {
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

void CaptureWorker::wait(const Pause& pause) {
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

void CaptureWorker::startNow(const Completion& completion) {
  if (session) {
    answer(completion, x11Error(X11ErrorCode::alreadyStarted, "The capture is running already."));
    return;
  }
  auto made = callWithTimeout(
      [target = target, configuration = configuration, wakeup = wakeup, counters = counters] {
        return std::make_unique<CaptureSession>(target, checkedSettings(configuration), wakeup,
                                                counters, CaptureClock::now());
      });
  if (const auto* error = std::get_if<Error>(&made)) return answer(completion, *error);
  session = std::get<0>(std::move(made));
  setGate(std::make_shared<DeliveryGate>());
  answer(completion);
}

void CaptureWorker::stopNow(const Completion& completion) {
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

void CaptureWorker::updateNow(const CaptureSettings& settings) {
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
void CaptureWorker::fail(const Error& error) {
  session.reset();
  if (!closeGate()) return;
  setGate(nullptr);
  if (const auto listener = delegate.lock()) listener->streamDidStopWithError(error);
}

std::shared_ptr<DeliveryGate> CaptureWorker::currentGate() {
  const MutexLock lock(mutex);
  return gate;
}

void CaptureWorker::setGate(std::shared_ptr<DeliveryGate> newGate) {
  const MutexLock lock(mutex);
  gate = std::move(newGate);
}

bool CaptureWorker::closeGate() {
  const MutexLock lock(mutex);
  return gate && gate->close();
}

}  // namespace quorvin
