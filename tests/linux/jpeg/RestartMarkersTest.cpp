#include <gtest/gtest.h>

#include <vector>

#include "platform/linux/jpeg/RestartMarkers.h"

namespace quorvin {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Places = std::vector<std::size_t>;

// Empty when the marks are refused.
Places endsIn(const Bytes& coded, Places marks) {
  if (!findEnds(coded, marks)) marks.clear();
  return marks;
}

TEST(RestartMarkers, EndEachRowWithTheFirstMarkerFromItsMarkOn) {
  const Bytes coded{1, 2, 0xFF, 0xD0, 3, 0xFF, 0xD1, 4, 5, 6, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, {0, 4, 7}), (Places{4, 7, 12}));
  EXPECT_EQ(endsIn(coded, {2, 5, 10}), (Places{4, 7, 12}));
}

TEST(RestartMarkers, AreNotTheStuffedBytesOfCodedData) {
  const Bytes coded{0xFF, 0, 0xFF, 0, 0xFF, 0xD0, 0xFF, 0, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, {0, 0}), (Places{6, 10}));
  EXPECT_EQ(endsIn(coded, {1, 7}), (Places{6, 10}));
}

TEST(RestartMarkers, StartAgainAfterTheEighth) {
  Bytes coded;
  for (int row = 0; row < 10; ++row) {
    coded.insert(coded.end(), {7, 0xFF, static_cast<std::uint8_t>(0xD0 + row % 8)});
  }
  coded.insert(coded.end(), {7, 0xFF, 0xD9});
  EXPECT_EQ(endsIn(coded, Places(11, 0)).size(), 11U);
  EXPECT_EQ(markerBehind(7, 20), 0xD7);
  EXPECT_EQ(markerBehind(8, 20), 0xD0);
  EXPECT_EQ(markerBehind(19, 20), 0xD9);
}

TEST(RestartMarkers, AreRefusedWhenTheyAreNotThoseOfSoManyRows) {
  const Bytes coded{1, 0xFF, 0xD0, 2, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, {0, 0}), (Places{3, 6}));
  EXPECT_EQ(endsIn(coded, {0}), Places());
  EXPECT_EQ(endsIn(coded, {0, 0, 0}), Places());
  EXPECT_EQ(endsIn(coded, {3, 3}), Places());  // past the first one
  EXPECT_EQ(endsIn(coded, {0, 90}), Places());
}

TEST(RestartMarkers, AreRefusedWhenTheDataIsCutOff) {
  const Bytes coded{1, 0xFF, 0xD0, 2, 0xFF, 0xD9};
  for (std::size_t length = 0; length < coded.size(); ++length) {
    EXPECT_EQ(
        endsIn(Bytes(coded.begin(), coded.begin() + static_cast<std::ptrdiff_t>(length)), {0, 0}),
        Places());
  }
}

TEST(RestartMarkers, AreRefusedWhenSomethingFollowsTheEnd) {
  EXPECT_EQ(endsIn({1, 0xFF, 0xD9, 0}, {0}), Places());
}

}  // namespace
}  // namespace quorvin
