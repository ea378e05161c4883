#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <thread>

#include "tests/linux/capture/CaptureHarness.h"
#include "tests/linux/system/SilentServer.h"

namespace quorvin {
namespace {

const Error noAnswer{
    "com.quorvin.support.x11", 10,
    "The X display does not answer. Wait until the program that holds it lets go, then start "
    "again."};

// How many descriptors this process has open, its connections among them.
std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// False when there were not so few of them in time.
bool waitForDescriptors(std::ptrdiff_t count) {
  const auto deadline = std::chrono::steady_clock::now() + testTimeout;
  while (openDescriptors() > count && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  return openDescriptors() <= count;
}

void expectNoAnswer(Answer& listed) {
  ASSERT_TRUE(listed.wait());
  EXPECT_EQ(listed.error(), noAnswer);
}

// Asks for the displays, which are not to come.
void list(LinuxScreenCapture& capture, Answer& listed) {
  capture.getShareableContent(true, true,
                              [done = listed.completion()](const auto& content, const auto& error) {
                                EXPECT_EQ(content, nullptr);
                                done(error);
                              });
}

TEST(ShareableContent, ListsTheWholeScreenOfAPlainServer) {
  CaptureHarness harness;
  const auto displays = harness.displays();
  ASSERT_EQ(displays.size(), 1U);
  EXPECT_EQ(displays[0]->widthPt(), 320);
  EXPECT_EQ(displays[0]->heightPt(), 240);
}

TEST(ShareableContent, ListsTheRootWindowOfAServerWithoutMonitors) {
  CaptureHarness harness({"-extension", "RANDR"});
  const auto displays = harness.displays();
  ASSERT_EQ(displays.size(), 1U);
  EXPECT_EQ(displays[0]->widthPt(), 320);
}

TEST(ShareableContent, ListsMonitorsInTheServersOrderWithStableIdentifiers) {
  CaptureHarness harness;
  const DisplayID whole = harness.displays().at(0)->displayID();
  harness.painter.defineMonitor("left", {0, 0, 160, 240});
  harness.painter.defineMonitor("right", {160, 0, 120, 200});
  const auto displays = harness.displays();
  ASSERT_EQ(displays.size(), 3U);
  // The server lists those first that a user defined.
  EXPECT_EQ(displays[0]->widthPt(), 160);
  EXPECT_EQ(displays[1]->widthPt(), 120);
  EXPECT_EQ(displays[1]->heightPt(), 200);
  EXPECT_EQ(displays[2]->displayID(), whole);
  EXPECT_NE(displays[0]->displayID(), displays[1]->displayID());
  EXPECT_EQ(harness.displays().at(1)->displayID(), displays[1]->displayID());
}

TEST(ShareableContent, CutsMonitorsOffAtTheEdgeOfTheScreen) {
  CaptureHarness harness;
  harness.painter.defineMonitor("wide", {200, 100, 500, 500});
  const auto displays = harness.displays();
  ASSERT_EQ(displays.size(), 2U);
  EXPECT_EQ(displays[0]->widthPt(), 120);
  EXPECT_EQ(displays[0]->heightPt(), 140);
}

TEST(ShareableContent, ListsThePrimaryMonitorFirst) {
  CaptureHarness harness;
  const DisplayID whole = harness.displays().at(0)->displayID();
  harness.painter.defineMonitor("left", {0, 0, 160, 240});
  harness.painter.defineMonitor("main", {160, 0, 120, 240}, true);
  const auto displays = harness.displays();
  ASSERT_EQ(displays.size(), 3U);
  EXPECT_EQ(displays[0]->displayID(), harness.painter.monitorNamed("main"));
  EXPECT_EQ(displays[1]->displayID(), harness.painter.monitorNamed("left"));
  EXPECT_EQ(displays[2]->displayID(), whole);
}

// Which of the displays the main screen is only the server knows.
TEST(ShareableContent, AsksNoServerForTheMainScreen) {
  CaptureHarness harness;
  harness.painter.defineMonitor("main", {160, 0, 120, 240}, true);
  harness.server.freeze();
  EXPECT_FALSE(harness.capture.mainScreenNumber());
  harness.server.thaw();
}

TEST(ShareableContent, IsAnErrorThatSaysWhatToDoWhenThereIsNoServer) {
  LinuxScreenCapture capture(":9999");
  std::promise<std::optional<Error>> answer;
  capture.getShareableContent(true, true, [&answer](const auto& content, const auto& error) {
    EXPECT_EQ(content, nullptr);
    answer.set_value(error);
  });
  const auto error = answer.get_future().get();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "com.quorvin.support.x11");
  EXPECT_EQ(error->localizedDescription,
            "No X display can be opened. Start a desktop session or set DISPLAY.");
}

TEST(ShareableContent, IsAnErrorThatSaysWhatToDoWhenTheServerHangs) {
  Answer listed;
  const auto before = openDescriptors();
  {
    const std::string display = unusedDisplay();
    const SilentServer server(socketOfDisplay(display));
    LinuxScreenCapture capture(display);
    list(capture, listed);
    expectNoAnswer(listed);
  }
  EXPECT_TRUE(waitForDescriptors(before));
  EXPECT_EQ(listed.count(), 1);
}

TEST(ShareableContent, IsDroppedWithItsConnectionWhenItComesTooLate) {
  CaptureHarness harness;
  Answer listed;
  const auto before = openDescriptors();
  harness.server.freeze();
  list(harness.capture, listed);
  expectNoAnswer(listed);
  EXPECT_GT(openDescriptors(), before);
  harness.server.thaw();
  EXPECT_TRUE(waitForDescriptors(before));
  EXPECT_EQ(listed.count(), 1);
  EXPECT_EQ(harness.displays().size(), 1U);
}

}  // namespace
}  // namespace quorvin
