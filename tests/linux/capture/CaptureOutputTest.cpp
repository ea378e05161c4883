#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "platform/linux/capture/CaptureOutput.h"

namespace quorvin {
namespace {

// Runs its tasks when told to.
class ManualQueue final : public DispatchQueue {
 public:
  void async(Task task) override { tasks.push_back(std::move(task)); }
  [[nodiscard]] bool isCurrent() const override { return false; }
  void runAll() {
    for (const Task& task : std::exchange(tasks, {})) task();
  }

  std::vector<Task> tasks;
};

class StatusList final : public StreamOutput {
 public:
  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override {
    EXPECT_EQ(type, StreamOutputType::screen);
    EXPECT_TRUE(sample.isValid());
    statuses.push_back(sample.attachments().value().at(0).frameStatus.value());
    times.push_back(sample.presentationTimeStamp());
  }

  std::vector<std::int64_t> statuses;
  std::vector<MediaTime> times;
};

class CaptureOutputTest : public testing::Test {
 protected:
  static CaptureStep step(CaptureStep::Outcome outcome) {
    return {outcome, nullptr, CaptureTime(std::chrono::seconds(90)), {}};
  }

  std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
  std::shared_ptr<StatusList> handler = std::make_shared<StatusList>();
  std::shared_ptr<DeliveryGate> gate = std::make_shared<DeliveryGate>();
  CaptureOutput output{handler, queue};
};

TEST_F(CaptureOutputTest, SendsFramesAndIdleSamplesInOrder) {
  output.deliver(step(CaptureStep::Outcome::frame), gate);
  output.deliver(step(CaptureStep::Outcome::nothing), gate);
  output.deliver(step(CaptureStep::Outcome::idle), gate);
  queue->runAll();
  EXPECT_EQ(handler->statuses, (std::vector{frameStatusComplete, frameStatusIdle}));
  EXPECT_EQ(handler->times.at(0), (MediaTime{90'000'000'000, 1'000'000'000}));
}

TEST_F(CaptureOutputTest, LetsNoIdleSamplesPileUp) {
  for (int i = 0; i < 5; ++i) output.deliver(step(CaptureStep::Outcome::idle), gate);
  EXPECT_EQ(queue->tasks.size(), 1U);
  queue->runAll();
  output.deliver(step(CaptureStep::Outcome::idle), gate);
  EXPECT_EQ(queue->tasks.size(), 1U);
}

TEST_F(CaptureOutputTest, DropsWhatIsQueuedWhenTheGateCloses) {
  output.deliver(step(CaptureStep::Outcome::frame), gate);
  gate->close();
  queue->runAll();
  EXPECT_TRUE(handler->statuses.empty());
}

TEST_F(CaptureOutputTest, DoesNothingForAHandlerThatIsGone) {
  output.deliver(step(CaptureStep::Outcome::frame), gate);
  handler.reset();
  queue->runAll();
  EXPECT_TRUE(queue->tasks.empty());
}

TEST(DeliveryGate, LetsNobodyInAfterItWasClosed) {
  DeliveryGate gate;
  EXPECT_TRUE(DeliveryGate::Pass(gate));
  EXPECT_TRUE(gate.close());
  EXPECT_FALSE(DeliveryGate::Pass(gate));
}

TEST(DeliveryGate, SaysWhoClosedItFirst) {
  DeliveryGate gate;
  EXPECT_TRUE(gate.close());
  EXPECT_FALSE(gate.close());
}

TEST(DeliveryGate, WaitsForAHandlerThatIsStillInside) {
  DeliveryGate gate;
  std::promise<void> isInside;
  std::promise<void> mayLeave;
  bool left = false;
  auto handler = std::async(std::launch::async, [&] {
    const DeliveryGate::Pass pass(gate);
    isInside.set_value();
    mayLeave.get_future().wait();
    left = true;
  });
  isInside.get_future().wait();
  gate.close();
  auto waiter = std::async(std::launch::async, [&] {
    gate.waitUntilQuiet();
    return left;
  });
  mayLeave.set_value();
  EXPECT_TRUE(waiter.get());
  handler.get();
}

TEST(DeliveryGate, DoesNotWaitForTheHandlerThatClosedIt) {
  DeliveryGate gate;
  const DeliveryGate::Pass pass(gate);
  gate.close();
  gate.waitUntilQuiet();
  EXPECT_FALSE(DeliveryGate::Pass(gate));
}

}  // namespace
}  // namespace quorvin
