#pragma once

#include <cstdint>
#include <set>

#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/InputRecord.h"
#include "platform/linux/input/ScrollNotches.h"
#include "platform/linux/input/XTestWriter.h"

namespace quorvin {

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
