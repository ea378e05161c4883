#include <cmath>

#include "tests/unit/runner/RemoteInputControllerTest.h"

namespace quorvin {
namespace {

std::optional<Point> pointOn(Rect display, double x, double y) {
  return RemoteInputController::point(x, y, display);
}

TEST(RemoteInputPoint, MapsOneOntoTheLastPixel) {
  const Rect display{{0, 0}, {1920, 1080}};
  EXPECT_EQ(pointOn(display, 0, 0), (Point{0, 0}));
  EXPECT_EQ(pointOn(display, 1, 1), (Point{1919, 1079}));
}

TEST(RemoteInputPoint, KeepsItsFraction) {
  EXPECT_EQ(pointOn({{100, 200}, {1920, 1080}}, 0.5, 0.5), (Point{1059.5, 739.5}));
}

TEST(RemoteInputPoint, MapsEverythingOfASinglePixelOntoIt) {
  EXPECT_EQ(pointOn({{0, 0}, {1, 1}}, 1, 1), (Point{0, 0}));
  EXPECT_EQ(pointOn({{7, 8}, {0.5, 0.25}}, 1, 1), (Point{7, 8}));
}

// In one step the two would be rounded once, on a processor that has such an instruction.
TEST(RemoteInputPoint, RoundsTheProductBeforeTheSum) {
  const Rect display{{100, -1920}, {1920, 1920}};
  EXPECT_EQ(pointOn(display, 0.1, 0.3), (Point{291.9, -1344.3000000000002}));
  EXPECT_NE(std::fma(0.1, 1919.0, 100.0), 291.9);
  EXPECT_NE(std::fma(0.3, 1919.0, -1920.0), -1344.3000000000002);
}

TEST(RemoteInputPoint, FollowsDisplaysLeftOfTheMainOne) {
  const Rect display{{-1280, 0}, {1280, 1024}};
  EXPECT_EQ(pointOn(display, 0, 0), (Point{-1280, 0}));
  EXPECT_EQ(pointOn(display, 1, 1), (Point{-1, 1023}));
}

TEST(RemoteInputPoint, TakesANegativeSizeForTheOtherSideOfTheOrigin) {
  EXPECT_EQ(pointOn({{100, 50}, {-100, -50}}, 0, 0), (Point{0, 0}));
  EXPECT_EQ(pointOn({{100, 50}, {-100, -50}}, 1, 1), (Point{99, 49}));
}

TEST(RemoteInputPoint, HasNoPlaceBeyondTheEdges) {
  const Rect display{{0, 0}, {1920, 1080}};
  for (const double place : {1.0000001, -0.0000001, nan, infinity, -infinity, 1e300}) {
    EXPECT_EQ(pointOn(display, place, 0.5), std::nullopt) << place;
    EXPECT_EQ(pointOn(display, 0.5, place), std::nullopt) << place;
  }
}

TEST(RemoteInputPoint, TakesNegativeZeroForTheFirstPixel) {
  EXPECT_EQ(pointOn({{5, 6}, {10, 10}}, -0.0, -0.0), (Point{5, 6}));
}

TEST(RemoteInputPoint, HasNoPlaceOnADisplayWithoutExtent) {
  for (const double extent : {0.0, -0.0, nan}) {
    EXPECT_EQ(pointOn({{0, 0}, {extent, 10}}, 0, 0), std::nullopt) << extent;
    EXPECT_EQ(pointOn({{0, 0}, {10, extent}}, 0, 0), std::nullopt) << extent;
  }
}

}  // namespace
}  // namespace quorvin
