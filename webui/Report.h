#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <set>
#include <string>
#include <string_view>

#include "platform/Value.h"

namespace quorvin::webui {

// What somebody who needs help with the program can read and pass on: what it runs on, and what
// went wrong lately. Of an error's text only plain words and short numbers are kept that are no
// part of a name that is to be hidden; everything else, such as addresses, paths and secrets,
// becomes "…". On one thread.
class Report {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::size_t errorsMax = 20;

  // What `SystemFacts` found out.
  void setSystem(std::string facts) { system = std::move(facts); }
  // A name, or anything that is made of names; from then on.
  void hide(std::string_view names);
  // One like the last is counted with it; the oldest makes room.
  void add(std::string_view code, std::string_view text, Clock::time_point now = Clock::now());

  // `permissions` is what the host answered to "permissions".
  [[nodiscard]] std::string text(const Value& permissions,
                                 Clock::time_point now = Clock::now()) const;

 private:
  struct Entry {
    std::string code;
    std::string text;
    Clock::time_point last;
    int count = 1;
  };

  [[nodiscard]] std::string shown(std::string_view text) const;

  std::string system;
  std::set<std::string, std::less<>> hidden;  // words in lower case
  std::deque<Entry> errors;
};

}  // namespace quorvin::webui
