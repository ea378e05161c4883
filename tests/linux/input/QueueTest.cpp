#include <gtest/gtest.h>

#include <variant>
#include <vector>

#include "platform/linux/input/InputQueue.h"

namespace quorvin {
namespace {

constexpr KeyRecord press(std::uint16_t key) {
  return {key, true};
}
constexpr KeyRecord release(std::uint16_t key) {
  return {key, false};
}
MouseRecord move(double x) {
  return {MouseEventType::mouseMoved, {x, 0}, MouseButton::left};
}
MouseRecord buttonUp(MouseEventType type, MouseButton button) {
  return {type, {0, 0}, button};
}

std::vector<LinuxInputEvent::Record> takeAll(InputQueue& queue) {
  std::vector<LinuxInputEvent::Record> all;
  while (const auto record = queue.take()) all.push_back(*record);
  return all;
}

void fill(InputQueue& queue) {
  for (std::size_t record = 0; record < InputQueue::limit; ++record) queue.push(press(0));
}

TEST(InputQueue, KeepsTheOrder) {
  InputQueue queue;
  queue.push(press(1));
  queue.push(move(2));
  queue.push(release(1));
  const auto all = takeAll(queue);
  ASSERT_EQ(all.size(), 3U);
  EXPECT_TRUE(std::get<KeyRecord>(all[0]).isDown);
  EXPECT_EQ(std::get<MouseRecord>(all[1]).position, (Point{2, 0}));
  EXPECT_FALSE(std::get<KeyRecord>(all[2]).isDown);
}

TEST(InputQueue, KeepsTheNewestOfMovesInARow) {
  InputQueue queue;
  for (int x = 0; x < 100'000; ++x) queue.push(move(x));
  queue.push(press(1));
  queue.push(move(7));
  const auto all = takeAll(queue);
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(std::get<MouseRecord>(all[0]).position, (Point{99'999, 0}));
  EXPECT_EQ(std::get<MouseRecord>(all[2]).position, (Point{7, 0}));
}

TEST(InputQueue, LetsOnlyReleasesInWhenItIsFull) {
  InputQueue queue;
  fill(queue);
  queue.push(press(1));
  queue.push(move(1));
  queue.push(ScrollRecord{1, 1});
  queue.push(release(0));
  queue.push(buttonUp(MouseEventType::leftMouseUp, MouseButton::left));
  queue.push(buttonUp(MouseEventType::rightMouseUp, MouseButton::right));
  const auto all = takeAll(queue);
  ASSERT_EQ(all.size(), InputQueue::limit + 3);
  EXPECT_FALSE(std::get<KeyRecord>(all[InputQueue::limit]).isDown);
}

TEST(InputQueue, DoesNotGrowOnWithReleases) {
  InputQueue queue;
  fill(queue);
  for (int round = 0; round < 100'000; ++round) {
    queue.push(press(1));
    queue.push(release(1));
    queue.push(buttonUp(MouseEventType::leftMouseUp, MouseButton::left));
  }
  EXPECT_EQ(takeAll(queue).size(), InputQueue::limit + 2);
}

TEST(InputQueue, LosesNoReleaseOfWhatItLetIn) {
  InputQueue queue;
  fill(queue);
  queue.push(release(1));
  (void)queue.take();
  (void)queue.take();
  queue.push(press(1));
  queue.push(release(1));
  const auto all = takeAll(queue);
  EXPECT_FALSE(std::get<KeyRecord>(all.back()).isDown);
  EXPECT_TRUE(std::get<KeyRecord>(all[all.size() - 2]).isDown);
}

TEST(InputQueue, ForgetsAllButReleases) {
  InputQueue queue;
  queue.push(press(1));
  queue.push(move(2));
  queue.push(release(1));
  queue.push(ScrollRecord{1, 1});
  queue.push(buttonUp(MouseEventType::otherMouseUp, MouseButton::center));
  queue.forgetNews();
  const auto all = takeAll(queue);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_FALSE(std::get<KeyRecord>(all[0]).isDown);
  EXPECT_TRUE(std::get<MouseRecord>(all[1]).isRelease());
}

}  // namespace
}  // namespace quorvin
