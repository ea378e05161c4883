#pragma once

#include <cstdint>
#include <set>

#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/LinuxInputEvent.h"
#include "platform/linux/input/XTestWriter.h"

namespace quorvin {

// How far one click (detent) of a wheel scrolls. Browsers report the same distance for a click, so
// that one click of the supporter's wheel is one click here.
inline constexpr std::int32_t pixelsPerWheelClick = 100;

// Turns distances along one axis into whole clicks. The rest is carried to the next distance, so
// that in the long run nothing is lost or added.
class WheelClicks {
 public:
  // Farther is not scrolled at once: each click is an event of its own.
  static constexpr std::int32_t maximumDistance = 10'000;  // pixels

  // The clicks to make now; negative for the other direction.
  [[nodiscard]] std::int32_t add(std::int32_t pixels);

 private:
  std::int32_t remainder = 0;  // always less than a click
};

// Works the pointer. The writer and the journal must outlive it.
class PointerInjector {
 public:
  PointerInjector(XTestWriter& writer, InputJournal& journal) : writer(writer), journal(journal) {}

  void post(const MouseRecord& record);
  void post(const ScrollRecord& record);
  void releaseAll();

  // Button numbers of X.
  [[nodiscard]] const std::set<std::uint8_t>& held() const { return buttons; }
  // Releases the buttons that an earlier connection, which broke, held.
  void takeOver(std::set<std::uint8_t> pending);

 private:
  void press(std::uint8_t button);
  void release(std::uint8_t button);
  // `forwards` is the button for a positive number of clicks, `backwards` for a negative one.
  void click(std::int32_t clicks, std::uint8_t forwards, std::uint8_t backwards);

  XTestWriter& writer;
  InputJournal& journal;
  std::set<std::uint8_t> buttons;
  WheelClicks vertical;
  WheelClicks horizontal;
};

}  // namespace quorvin
