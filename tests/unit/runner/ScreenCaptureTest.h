#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Runner/QuorvinScreenCapture.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {

// The answer to one operation: how often it came and with which error last.
struct Answer {
  int count = 0;
  std::optional<Error> error;

  [[nodiscard]] Completion completion() {
    return [this](const std::optional<Error>& result) {
      ++count;
      error = result;
    };
  }
};

class ScreenCaptureTest : public testing::Test {
 protected:
  ~ScreenCaptureTest() override {
    capture.reset();
    machine.dispatch.runUntilIdle();
    EXPECT_THAT(machine.violations(), testing::IsEmpty());
  }

  void start() {
    capture->start(startAnswer.completion());
    machine.dispatch.runUntilIdle();
  }
  void send(const std::shared_ptr<fakes::FakeSample>& sample) {
    stream()->send(sample);
    machine.dispatch.runUntilIdle();
  }
  std::shared_ptr<fakes::FakeStream> stream() { return machine.screenCapture.newestStream(); }
  std::vector<std::uint32_t> emittedContents() {
    std::vector<std::uint32_t> contents;
    for (const auto& frame : emitted) contents.push_back(fakes::FakeImageEncoder::contentOf(frame));
    return contents;
  }

  fakes::FakeMachine machine;
  std::vector<Error> stops;
  std::vector<Data> emitted;
  bool emittedOffMain = false;
  Answer startAnswer;
  Answer configureAnswer;
  std::shared_ptr<QuorvinScreenCapture> capture = QuorvinScreenCapture::make(
      machine.platform, [this](const Error& error) { stops.push_back(error); },
      [this](Data frame) {
        emitted.push_back(std::move(frame));
        emittedOffMain |= !machine.dispatch.mainQueue()->isCurrent();
      });
};

}  // namespace quorvin
