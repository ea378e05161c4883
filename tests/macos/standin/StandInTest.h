#pragma once

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/macos/frameworks/Foundation/FoundationControl.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Objects.h"
#include "tests/macos/standin/Threads.h"

extern "C" {
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* token);
}

namespace standin {

// The base of every test on the stand-ins: afterwards nothing may have been done that a real
// framework forbids, and no object may have outlived the test.
//
// It begins before the members of a derived fixture are made and looks after they are gone.
class StandInTest : public testing::Test {
 protected:
  StandInTest() {
    resetFoundation();
    settle();
    resetCallLog();
    objectsBefore = liveObjects();
    pool = objc_autoreleasePoolPush();
  }

  ~StandInTest() override {
    settle();
    objc_autoreleasePoolPop(pool);
    // The last release may have set off further tasks.
    settle();
    resetThreads();
    resetFoundation();
    for (const auto& text : takeViolations()) ADD_FAILURE() << text;
    EXPECT_LE(liveObjects(), objectsBefore)
        << "leaked; alive now: " << testing::PrintToString(liveObjectSummary());
  }

 private:
  std::size_t objectsBefore = 0;
  void* pool = nullptr;
};

}  // namespace standin
