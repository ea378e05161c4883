#pragma once

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Objects.h"
#include "tests/macos/standin/Threads.h"

namespace standin {

// The base of every test on the stand-ins: afterwards nothing may have been done that a real
// framework forbids, and no object may have outlived the test.
class StandInTest : public testing::Test {
 protected:
  void SetUp() override {
    settle();
    resetCallLog();
    objectsBefore = liveObjects();
  }

  void TearDown() override {
    settle();
    resetThreads();
    for (const auto& text : takeViolations()) ADD_FAILURE() << text;
    EXPECT_LE(liveObjects(), objectsBefore)
        << "leaked; alive now: " << testing::PrintToString(liveObjectSummary());
  }

 private:
  std::size_t objectsBefore = 0;
};

}  // namespace standin
