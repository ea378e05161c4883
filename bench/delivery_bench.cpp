// What handing on the newest frame costs: from a complete sample on the capture queue to the
// payload in the owner's hands, with an encoder that costs nothing. Beside it, what the same two
// locks and one queued task cost bare.

#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "Runner/QuorvinScreenCapture.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

// Every task waits here until the benchmark lets it run, in order; no threads, no choice.
class PlainQueue final : public DispatchQueue {
 public:
  void async(Task task) override { tasks.push_back(std::move(task)); }
  [[nodiscard]] bool isCurrent() const override { return true; }
  void drain() {
    for (const auto& task : std::exchange(tasks, {})) task();
  }

 private:
  std::vector<Task> tasks;
};

class PlainDispatch final : public Dispatch {
 public:
  std::shared_ptr<PlainQueue> queue = std::make_shared<PlainQueue>();

  std::shared_ptr<DispatchQueue> mainQueue() override { return queue; }
  std::shared_ptr<DispatchQueue> globalQueue(QualityOfService /*qos*/) override { return queue; }
  std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& /*label*/,
                                                 QualityOfService /*qos*/) override {
    return std::make_shared<PlainQueue>();
  }
  std::unique_ptr<DispatchTimer> makeTimer(std::shared_ptr<DispatchQueue> /*queue*/) override {
    return nullptr;
  }
  std::uint64_t uptimeNanoseconds() override { return 0; }
};

// Hands out the same file for every frame.
class ReadyEncoder final : public ImageEncoder {
 public:
  std::unique_ptr<ImageContext> makeContext(bool /*cacheIntermediates*/) override {
    return std::make_unique<Context>();
  }

 private:
  class Context final : public ImageContext {
   public:
    std::optional<Data> jpegRepresentation(const PixelBuffer& /*frame*/,
                                           double /*compressionFactor*/) override {
      return file;
    }

   private:
    Data file{Bytes(400'000)};
  };
};

void deliverOneFrame(benchmark::State& state) {
  fakes::FakeMachine machine;
  PlainDispatch dispatch;
  ReadyEncoder encoder;
  Platform platform{.application = machine.application,
                    .dispatch = dispatch,
                    .files = machine.files,
                    .flutter = machine.flutter,
                    .imageEncoder = encoder,
                    .inputEvents = machine.inputEvents,
                    .notificationCenter = machine.notificationCenter,
                    .permissions = machine.permissions,
                    .process = machine.process,
                    .propertyList = machine.propertyList,
                    .screenCapture = machine.screenCapture,
                    .text = machine.text,
                    .userDefaults = machine.userDefaults,
                    .videoEncoder = machine.videoEncoder};
  std::size_t delivered = 0;
  const auto capture = std::make_shared<QuorvinScreenCapture>(
      platform, [](const Error&) {}, [&](const Data& frame) { delivered += frame.size(); });
  const auto sample = fakes::FakeSample::complete(1);
  for (auto _ : state) {
    capture->streamDidOutputSample(*sample, StreamOutputType::screen);
    dispatch.queue->drain();
  }
  benchmark::DoNotOptimize(delivered);
  if (delivered != static_cast<std::size_t>(state.iterations()) * 400'000) {
    state.SkipWithError("a frame was lost");
  }
}
BENCHMARK(deliverOneFrame);

void twoLocksAndOneTask(benchmark::State& state) {
  PlainQueue queue;
  std::mutex lock;
  std::optional<Data> pending;
  const Data file{Bytes(400'000)};
  std::size_t delivered = 0;
  for (auto _ : state) {
    {
      const std::lock_guard guard(lock);
      pending = file;
    }
    queue.async([&] {
      std::optional<Data> taken;
      const std::lock_guard guard(lock);
      std::swap(taken, pending);
      delivered += taken->size();
    });
    queue.drain();
  }
  benchmark::DoNotOptimize(delivered);
}
BENCHMARK(twoLocksAndOneTask);

}  // namespace
}  // namespace quorvin

BENCHMARK_MAIN();
