// The host as it is built without the H.264 encoder.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/link/ScreenNoise.h"

namespace quorvin {
namespace {

bool needsX264(const char* program) {
  std::ostringstream content;
  content << std::ifstream(program, std::ios::binary).rdbuf();
  return content.str().find("libx264") != std::string::npos;
}

// The kinds of the frames after the first that comes once H.264 was asked for, as one letter each.
std::string framesOnceAskedForH264(const char* program) {
  HostHarness harness;
  const ScreenNoise noise(harness.server.display());
  ConnectedHost host(harness, {}, program);
  host.client->listen();
  EXPECT_TRUE(host.startCapture());
  EXPECT_EQ(host.nextFrame(), HostHarness::screenSize);
  EXPECT_EQ(host.client->call("configureStream", streamSettings(640, 480, "h264")),
            FlutterReply(Value()));
  std::string kinds;
  std::optional<JpegSize> last = HostHarness::screenSize;
  // What was on its way when the settings came is larger.
  for (int frame = 0; frame < 100 && last == HostHarness::screenSize; ++frame) {
    last = host.nextFrame();
  }
  for (int frame = 0; frame < 5; ++frame, last = host.nextFrame()) {
    kinds += last == JpegSize{640, 480} ? 'J' : '-';
  }
  return kinds;
}

TEST(HostWithoutH264, SendsJpegWhereH264IsAskedFor) {
  EXPECT_EQ(framesOnceAskedForH264(QUORVIN_HOST_WITHOUT_H264), "JJJJJ");
  EXPECT_EQ(framesOnceAskedForH264(QUORVIN_HOST), "-----");
}

TEST(HostWithoutH264, DoesNotNeedTheLibrary) {
  EXPECT_FALSE(needsX264(QUORVIN_HOST_WITHOUT_H264));
  EXPECT_TRUE(needsX264(QUORVIN_HOST));
}

}  // namespace
}  // namespace quorvin
