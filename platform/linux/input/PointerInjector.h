#pragma once

#include <cstdint>
#include <set>

#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/InputRecord.h"
#include "platform/linux/input/XTestWriter.h"

namespace quorvin {

// How far one notch of a wheel scrolls. It is what browsers take a notch for, from which the
// distances of remote input come, so a notch turned there is a notch here.
inline constexpr std::int32_t pixelsPerNotch = 100;

// Turns distances along one axis into whole notches. What does not make a whole one is carried to
// the next distance, so that in the long run nothing is lost or added.
class ScrollNotches {
 public:
  // Farther is not scrolled at once: each notch is an event of its own.
  static constexpr std::int32_t maximumDistance = 10'000;  // pixels

  // The notches to turn now; negative for the other direction.
  [[nodiscard]] std::int32_t add(std::int32_t pixels);

 private:
  std::int32_t remainder = 0;  // always less than a notch
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
  // Releases the buttons that a connection held which broke.
  void adopt(std::set<std::uint8_t> left);

 private:
  void press(std::uint8_t button);
  void release(std::uint8_t button);
  void turn(std::int32_t notches, std::uint8_t forwards, std::uint8_t backwards);

  XTestWriter& writer;
  InputJournal& journal;
  std::set<std::uint8_t> buttons;
  ScrollNotches vertical;
  ScrollNotches horizontal;
};

}  // namespace quorvin
