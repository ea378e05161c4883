#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace quorvin::contract {

// A contract is the set of tests that hold an implementation of one interface of the seam to what
// the interface's comments promise. The same tests run on the fakes and on every back end, so that
// none of them can drift away from the others: what the decisions were tested against is what they
// meet.
//
// An implementation is tried in a world: the interface, together with the system's side of it. A
// test program takes part in a contract by instantiating its suite with the worlds that it has; it
// names those that it leaves out with GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST, and says why.

using Condition = std::function<bool()>;

// One way to make a world of that type. A new one is made for each test.
template <typename World>
struct WorldKind {
  std::string name;  // letters and digits: the end of the test's name
  std::function<std::unique_ptr<World>()> make;

  friend void PrintTo(const WorldKind& kind, std::ostream* out) { *out << kind.name; }
};

// The last argument of INSTANTIATE_TEST_SUITE_P.
inline constexpr auto nameOfWorld = [](const auto& info) {
  return info.param.name;
};

// The base of a contract's fixture.
template <typename World>
class Contract : public testing::TestWithParam<WorldKind<World>> {
 protected:
  std::unique_ptr<World> world = this->GetParam().make();
};

}  // namespace quorvin::contract
