#include <gtest/gtest.h>

#include <random>

#include "platform/unix/HeldInput.h"

namespace quorvin {
namespace {

TEST(HeldInput, KeepsWhatIsPressedAndWhatIsBound) {
  HeldInput held;
  EXPECT_TRUE(held.isEmpty());
  held.note({InputChange::pressButton, 1});
  for (int repeat = 0; repeat < 3; ++repeat) held.note({InputChange::pressKey, 38});
  held.note({InputChange::pressKey, 50});
  held.note({InputChange::bindKey, 200});
  EXPECT_EQ(held, (HeldInput{.buttons = {1}, .keys = {38, 50}, .boundKeys = {200}}));
}

TEST(HeldInput, ForgetsWhatIsBoundNoMore) {
  HeldInput held;
  held.note({InputChange::bindKey, 200});
  held.note({InputChange::unbindKey, 200});
  held.note({InputChange::unbindKey, 201});
  EXPECT_TRUE(held.isEmpty());
}

TEST(HeldInput, TellsAnotherAllThatIsHeld) {
  HeldInput all;
  for (int code = 0; code < 256; ++code) {
    all.buttons.insert(static_cast<std::uint8_t>(code));
    all.keys.insert(static_cast<std::uint8_t>(code));
    all.boundKeys.insert(static_cast<std::uint8_t>(code));
  }
  for (const auto& held : {HeldInput{}, HeldInput{{1}, {38, 50}, {200}}, all}) {
    HeldInput told;
    told.note(held.asMessage());
    EXPECT_EQ(told, held);
  }
}

TEST(HeldInput, IgnoresWhatIsNoRecord) {
  HeldInput held;
  held.note(std::span<const std::uint8_t>());
  const JournalMessage message{0, 1, 7, 2, 255, 3, 2, 38, 2};
  held.note(message);
  EXPECT_EQ(held, (HeldInput{.buttons = {}, .keys = {38}, .boundKeys = {}}));
}

TEST(HeldInput, TakesAnyBytes) {
  std::minstd_rand random(5);
  HeldInput held;
  for (int round = 0; round < 1000; ++round) {
    JournalMessage message(random() % 64);
    for (auto& byte : message) byte = static_cast<std::uint8_t>(random() % 256);
    held.note(message);
  }
  HeldInput told;
  told.note(held.asMessage());
  EXPECT_EQ(told, held);
}

}  // namespace
}  // namespace quorvin
