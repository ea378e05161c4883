#include <gtest/gtest.h>

#include <future>

#include "platform/linux/capture/CaptureGate.h"

namespace quorvin {
namespace {

TEST(CaptureGate, LetsNobodyInAfterItWasClosed) {
  CaptureGate gate;
  EXPECT_TRUE(CaptureGate::Pass(gate));
  EXPECT_TRUE(gate.close());
  EXPECT_FALSE(CaptureGate::Pass(gate));
}

TEST(CaptureGate, SaysWhoClosedItFirst) {
  CaptureGate gate;
  EXPECT_TRUE(gate.close());
  EXPECT_FALSE(gate.close());
}

TEST(CaptureGate, WaitsForAHandlerThatIsStillInside) {
  CaptureGate gate;
  std::promise<void> isInside;
  std::promise<void> mayLeave;
  bool left = false;
  auto handler = std::async(std::launch::async, [&] {
    const CaptureGate::Pass pass(gate);
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

TEST(CaptureGate, DoesNotWaitForTheHandlerThatClosedIt) {
  CaptureGate gate;
  const CaptureGate::Pass pass(gate);
  gate.close();
  gate.waitUntilQuiet();
  EXPECT_FALSE(CaptureGate::Pass(gate));
}

}  // namespace
}  // namespace quorvin
