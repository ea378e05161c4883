#include <gtest/gtest.h>

#include "platform/linux/capture/X11ScreenReader.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/capture/TestImages.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

bool read(X11ScreenReader& reader, const PixelRegion& region, PixelImage& target) {
  reader.requestPixels(region, target);
  return reader.waitForPixels();
}

X11Transport chosenTransport(const std::vector<std::string>& options) {
  const XServer server(options);
  X11Connection connection(server.display());
  return chooseTransport(connection, X11Extensions::negotiate(connection));
}

TEST(X11SharedMemory, IsPassedByDescriptorToAServerOfToday) {
  EXPECT_EQ(chosenTransport({}), X11Transport::descriptor);
}

TEST(X11SharedMemory, IsNotUsedWithAServerThatKnowsNothingOfIt) {
  EXPECT_EQ(chosenTransport({"-extension", "MIT-SHM"}), X11Transport::replies);
}

class X11TransportTest : public testing::TestWithParam<X11Transport> {};

TEST_P(X11TransportTest, BringsThePixelsToTheImage) {
  const XServer server({"-noreset"});
  ScreenPainter painter(server.display());
  painter.fillAll(0x334455);
  painter.fill({20, 30, 10, 10}, 0xabcdef);
  X11Connection connection(server.display());
  X11ScreenReader reader(connection, GetParam(), std::make_shared<CaptureCounters>());
  PixelImage image = reader.makeImage({320, 240});
  ASSERT_TRUE(read(reader, PixelRegion(wholeOf(image.size)), image));
  EXPECT_EQ(pixelOf(image, 20, 30), 0xabcdefU);
  EXPECT_EQ(pixelOf(image, 319, 239), 0x334455U);

  painter.fill({300, 200, 4, 4}, 0x112233);
  ASSERT_TRUE(read(reader, PixelRegion({300, 200, 4, 4}), image));
  EXPECT_EQ(pixelOf(image, 303, 203), 0x112233U);
  EXPECT_EQ(pixelOf(image, 304, 203), 0x334455U);
}

TEST_P(X11TransportTest, SaysWhenTheServerRefuses) {
  const XServer server({"-noreset"});
  X11Connection connection(server.display());
  X11ScreenReader reader(connection, GetParam(), std::make_shared<CaptureCounters>());
  reader.setOrigin(10, 10);
  PixelImage image = reader.makeImage({320, 240});
  EXPECT_FALSE(read(reader, PixelRegion(wholeOf(image.size)), image));
  EXPECT_FALSE(reader.readChanges(image));
  reader.setOrigin(0, 0);
  EXPECT_TRUE(read(reader, PixelRegion(wholeOf(image.size)), image));
}

TEST_P(X11TransportTest, FindsTheRowsThatDiffer) {
  const XServer server({"-noreset"});
  ScreenPainter painter(server.display());
  painter.fillAll(0x334455);
  X11Connection connection(server.display());
  X11ScreenReader reader(connection, GetParam(), std::make_shared<CaptureCounters>());
  PixelImage image = reader.makeImage({320, 240});
  EXPECT_FALSE(reader.readChanges(image).value().isEmpty());
  EXPECT_TRUE(reader.readChanges(image).value().isEmpty());
  painter.fill({50, 77, 1, 2}, 0xffffff);
  const auto changes = reader.readChanges(image).value().ranges();
  EXPECT_EQ(changes, (std::vector{RowRange{77, 79}}));
  EXPECT_EQ(pixelOf(image, 50, 78), 0xffffffU);
}

INSTANTIATE_TEST_SUITE_P(All, X11TransportTest,
                         testing::Values(X11Transport::descriptor, X11Transport::systemV,
                                         X11Transport::replies));

}  // namespace
}  // namespace quorvin
