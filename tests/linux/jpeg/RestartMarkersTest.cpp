#include <gtest/gtest.h>

#include <vector>

#include "platform/linux/jpeg/RestartMarkers.h"

namespace quorvin {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Places = std::vector<std::size_t>;

// Empty when there are not just so many.
Places endsIn(const Bytes& coded, std::size_t count) {
  Places ends(count);
  if (!findEnds(coded, ends)) ends.clear();
  return ends;
}

TEST(RestartMarkers, EndEachSegment) {
  const Bytes coded{1, 2, 0xFF, 0xD0, 3, 0xFF, 0xD1, 4, 5, 6, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, 3), (Places{4, 7, 12}));
}

TEST(CodedData, BeginsBehindTheStartOfTheScan) {
  const Bytes head{0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 0xFF, 0xDA, 0xFF, 0xDA, 0, 3, 9};
  Bytes file = head;
  file.insert(file.end(), {1, 2, 0xFF, 0xD9});
  EXPECT_EQ(findCodedData(file), head.size());
  // Cut off anywhere in front of it, there is none.
  for (std::size_t size = 0; size <= head.size(); ++size) {
    EXPECT_EQ(findCodedData(std::span(file).first(size)), 0U) << size;
  }
}

TEST(CodedData, DoesNotBeginInWhatIsNoFile) {
  EXPECT_EQ(findCodedData(Bytes(100, 0)), 0U);
  EXPECT_EQ(findCodedData(Bytes{0xFF, 0xD8, 0xFF, 0xE0, 0xFF, 0xFF, 1, 2}), 0U);
}

TEST(RestartMarkers, AreNotTheStuffedBytesOfCodedData) {
  const Bytes coded{0xFF, 0, 0xFF, 0, 0xFF, 0xD0, 0xFF, 0, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, 2), (Places{6, 10}));
}

TEST(RestartMarkers, StartAgainAfterTheEighth) {
  Bytes coded;
  for (int row = 0; row < 10; ++row) {
    coded.insert(coded.end(), {7, 0xFF, static_cast<std::uint8_t>(0xD0 + row % 8)});
  }
  coded.insert(coded.end(), {7, 0xFF, 0xD9});
  EXPECT_EQ(endsIn(coded, 11).size(), 11U);
  EXPECT_EQ(markerBehind(7, 20), 0xD7);
  EXPECT_EQ(markerBehind(8, 20), 0xD0);
  EXPECT_EQ(markerBehind(19, 20), 0xD9);
}

TEST(RestartMarkers, AreFoundWhereverTheyLieInLongData) {
  for (std::size_t first = 0; first < 150; ++first) {
    for (const std::size_t second : {std::size_t{1}, std::size_t{62}, std::size_t{63}}) {
      Bytes coded(first, 0xFF);
      for (std::size_t i = 1; i < first; i += 2) coded[i] = 0;  // as coded data has them
      if (first % 2 == 1) coded.back() = 7;
      coded.insert(coded.end(), {0xFF, 0xD0});
      coded.insert(coded.end(), second, 7);
      coded.insert(coded.end(), {0xFF, 0xD9});
      EXPECT_EQ(endsIn(coded, 2), (Places{first + 2, first + second + 4})) << first;
    }
  }
}

TEST(RestartMarkers, AreRefusedWhenTheyAreNotThoseOfSoManySegments) {
  const Bytes coded{1, 0xFF, 0xD0, 2, 0xFF, 0xD9};
  EXPECT_EQ(endsIn(coded, 2), (Places{3, 6}));
  EXPECT_EQ(endsIn(coded, 1), Places());
  EXPECT_EQ(endsIn(coded, 3), Places());
  EXPECT_EQ(endsIn({1, 0xFF, 0xD1, 2, 0xFF, 0xD9}, 2), Places());
}

TEST(RestartMarkers, AreRefusedWhenTheDataIsCutOff) {
  const Bytes coded{1, 0xFF, 0xD0, 2, 0xFF, 0xD9};
  for (std::size_t length = 0; length < coded.size(); ++length) {
    EXPECT_EQ(endsIn(Bytes(coded.begin(), coded.begin() + static_cast<std::ptrdiff_t>(length)), 2),
              Places());
  }
}

TEST(RestartMarkers, AreRefusedWhenSomethingFollowsTheEnd) {
  EXPECT_EQ(endsIn({1, 0xFF, 0xD9, 0}, 1), Places());
}

}  // namespace
}  // namespace quorvin
