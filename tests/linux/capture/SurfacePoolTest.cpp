#include <gtest/gtest.h>
#include <poll.h>

#include "platform/linux/capture/FrameComposer.h"
#include "tests/linux/capture/TestImages.h"

namespace quorvin {
namespace {

constexpr PixelSize size{64, 32};
constexpr PixelSize otherSize{32, 64};

bool isSignalled(const EventFd& wakeup) {
  pollfd source{wakeup.descriptor(), POLLIN, 0};
  return poll(&source, 1, 0) == 1;
}

class SurfacePoolTest : public testing::Test {
 protected:
  std::shared_ptr<CapturedFrame> lendNext() { return pool.lend(pool.mostRecentFree()); }

  int made = 0;
  std::shared_ptr<EventFd> wakeup = std::make_shared<EventFd>();
  SurfacePool pool{[this](PixelSize wanted) {
                     ++made;
                     return makeTestImage(wanted);
                   },
                   wakeup};
};

TEST_F(SurfacePoolTest, LendsNoMoreThanItsDepth) {
  pool.configure(size, 2);
  const auto first = lendNext();
  EXPECT_TRUE(pool.hasFree());
  auto second = lendNext();
  EXPECT_FALSE(pool.hasFree());
  second.reset();
  EXPECT_TRUE(pool.hasFree());
}

TEST_F(SurfacePoolTest, SignalsWhenASurfaceComesBackAfterThereWasNone) {
  pool.configure(size, 1);
  auto frame = lendNext();
  EXPECT_FALSE(pool.hasFree());
  EXPECT_FALSE(isSignalled(*wakeup));
  frame.reset();
  EXPECT_TRUE(isSignalled(*wakeup));
}

TEST_F(SurfacePoolTest, SignalsOnceForEachTimeThatThereWasNone) {
  pool.configure(size, 2);
  auto first = lendNext();
  auto second = lendNext();
  EXPECT_FALSE(pool.hasFree());
  first.reset();
  wakeup->clear();
  second.reset();
  EXPECT_FALSE(isSignalled(*wakeup));
  first = lendNext();
  second = lendNext();
  EXPECT_FALSE(pool.hasFree());
  second.reset();
  EXPECT_TRUE(isSignalled(*wakeup));
}

TEST_F(SurfacePoolTest, RousesNobodyWhileSurfacesAreLeft) {
  pool.configure(size, 2);
  auto frame = lendNext();
  EXPECT_TRUE(pool.hasFree());
  frame.reset();
  EXPECT_FALSE(isSignalled(*wakeup));
}

TEST_F(SurfacePoolTest, AllocatesOnlyWhatIsInUseAtATime) {
  pool.configure(size, 8);
  for (int i = 0; i < 10; ++i) lendNext();
  EXPECT_EQ(made, 1);
}

TEST_F(SurfacePoolTest, PrefersTheSurfaceUsedLast) {
  pool.configure(size, 3);
  auto first = lendNext();
  auto second = lendNext();
  const std::uint8_t* firstPixels = first->data();
  first.reset();
  second.reset();
  EXPECT_NE(lendNext()->data(), firstPixels);
}

TEST_F(SurfacePoolTest, ANewSurfaceIsStaleAllOver) {
  pool.configure(size, 1);
  EXPECT_EQ(pool.mostRecentFree().stale.rects(), std::vector{wholeOf(size)});
}

TEST_F(SurfacePoolTest, MarksEverySurfaceStaleEvenWhileItIsLent) {
  pool.configure(size, 2);
  auto first = lendNext();
  auto second = lendNext();
  first.reset();
  pool.markDamaged(Damage({1, 2, 3, 4}));
  EXPECT_EQ(pool.mostRecentFree().stale.rects(), (std::vector{PixelRect{1, 2, 3, 4}}));
  first = lendNext();
  second.reset();
  EXPECT_FALSE(pool.mostRecentFree().stale.isEmpty());
}

TEST_F(SurfacePoolTest, CountsFramesOfAnEarlierSizeThatAreStillHeld) {
  pool.configure(size, 2);
  const auto old = lendNext();
  pool.configure(otherSize, 2);
  auto current = lendNext();
  EXPECT_EQ(current->widthPx(), 32U);
  EXPECT_FALSE(pool.hasFree());
  EXPECT_EQ(old->widthPx(), 64U);
  current.reset();
  EXPECT_TRUE(pool.hasFree());
}

TEST_F(SurfacePoolTest, ASmallerDepthWaitsForFramesToComeBack) {
  pool.configure(size, 3);
  auto first = lendNext();
  auto second = lendNext();
  pool.configure(size, 1);
  EXPECT_FALSE(pool.hasFree());
  first.reset();
  EXPECT_FALSE(pool.hasFree());
  second.reset();
  EXPECT_TRUE(pool.hasFree());
}

TEST(SurfacePool, FramesOutliveThePool) {
  std::shared_ptr<CapturedFrame> frame;
  {
    SurfacePool pool([](PixelSize wanted) { return makeTestImage(wanted, 0x123456); },
                     std::make_shared<EventFd>());
    pool.configure(size, 1);
    frame = pool.lend(pool.mostRecentFree());
  }
  EXPECT_EQ(frame->data()[0], 0x56);
  EXPECT_EQ(frame->strideBytes(), 256U);
}

}  // namespace
}  // namespace quorvin
