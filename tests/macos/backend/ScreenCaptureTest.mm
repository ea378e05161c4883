#include "tests/macos/backend/CaptureFixture.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const auto* const contentRequest =
    "+[SCShareableContent getShareableContentExcludingDesktopWindows:onScreenWindowsOnly:"
    "completionHandler:]";

class ForeignDisplay final : public ShareableDisplay {
 public:
  [[nodiscard]] DisplayID displayID() const override { return 7; }
  [[nodiscard]] std::int64_t widthPt() const override { return 1440; }
  [[nodiscard]] std::int64_t heightPt() const override { return 900; }
};

class ScreenCaptureTest : public CaptureTest {};
class ScreenCaptureDeathTest : public CaptureDeathTest {};

TEST_F(ScreenCaptureTest, ReadsTheMainScreensNumber) {
  standin::setMainScreen(@{@"NSScreenNumber" : @(4128831), @"NSDeviceIsScreen" : @"YES"});
  EXPECT_EQ(capture.mainScreenNumber(), 4128831);
}

TEST_F(ScreenCaptureTest, ReadsTheWholeRangeOfScreenNumbers) {
  standin::setMainScreen(@{@"NSScreenNumber" : @(0xFFFF'FFFFU)});
  EXPECT_EQ(capture.mainScreenNumber(), 0xFFFF'FFFFU);
}

TEST_F(ScreenCaptureTest, KnowsNoMainScreenWhenThereIsNone) {
  EXPECT_EQ(capture.mainScreenNumber(), std::nullopt);
  EXPECT_THAT(standin::callNames(), ElementsAre("+[NSScreen mainScreen]"));
}

TEST_F(ScreenCaptureTest, KnowsNoMainScreenWhenItsNumberIsMissing) {
  standin::setMainScreen(@{@"NSDeviceIsScreen" : @"YES"});
  EXPECT_EQ(capture.mainScreenNumber(), std::nullopt);
}

TEST_F(ScreenCaptureTest, KnowsNoMainScreenWhenItsNumberIsNoNumber) {
  standin::setMainScreen(@{@"NSScreenNumber" : @"7"});
  EXPECT_EQ(capture.mainScreenNumber(), std::nullopt);
}

TEST_F(ScreenCaptureTest, AsksForTheContentThatItWasAskedFor) {
  askForContent(/*excludingDesktopWindows=*/true, /*onScreenWindowsOnly=*/false);
  askForContent(/*excludingDesktopWindows=*/false, /*onScreenWindowsOnly=*/true);
  const auto requests = standin::callsOf(contentRequest);
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_THAT(requests[0].arguments, ElementsAre("YES", "NO"));
  EXPECT_THAT(requests[1].arguments, ElementsAre("NO", "YES"));
}

TEST_F(ScreenCaptureTest, ReportsTheDisplaysInTheSystemsOrder) {
  standin::setShareableContent(
      {.displays = {{9, 2560, 1440}, {0xFFFF'FFFFU, 1, 2}, {7, 1440, 900}}});
  const auto answers = askForContent();
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_EQ(answers[0].error, std::nullopt);
  EXPECT_FALSE(answers[0].onMainThread);
  const auto& displays = answers[0].content->displays;
  ASSERT_THAT(displays, SizeIs(3));
  EXPECT_EQ(displays[0]->displayID(), 9);
  EXPECT_EQ(displays[0]->widthPt(), 2560);
  EXPECT_EQ(displays[0]->heightPt(), 1440);
  EXPECT_EQ(displays[1]->displayID(), 0xFFFF'FFFFU);
  EXPECT_EQ(displays[1]->widthPt(), 1);
  EXPECT_EQ(displays[1]->heightPt(), 2);
  EXPECT_EQ(displays[2]->displayID(), 7);
}

TEST_F(ScreenCaptureTest, ReportsThatThereIsNoDisplay) {
  standin::setShareableContent({});
  const auto answers = askForContent();
  ASSERT_THAT(answers, SizeIs(1));
  ASSERT_NE(answers[0].content, nullptr);
  EXPECT_THAT(answers[0].content->displays, IsEmpty());
}

TEST_F(ScreenCaptureTest, ReportsTheErrorUnchangedAndNoContent) {
  standin::setShareableContent(
      {.hasContent = false, .error = standin::streamError(SCStreamErrorUserDeclined, "No.")});
  const auto answers = askForContent();
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_EQ(answers[0].content, nullptr);
  EXPECT_EQ(answers[0].error, Error(capture.streamErrorDomain(), -3801, "No."));
}

TEST_F(ScreenCaptureTest, ReportsContentAndErrorWhenBothCome) {
  standin::setShareableContent({.displays = {{7, 1440, 900}},
                                .error = standin::ErrorScript{"com.example.other", 5, "Half."}});
  const auto answers = askForContent();
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_THAT(answers[0].content->displays, SizeIs(1));
  EXPECT_EQ(answers[0].error, Error("com.example.other", 5, "Half."));
}

TEST_F(ScreenCaptureTest, ReportsNothingAtAllWhenNothingComes) {
  standin::setShareableContent({.hasContent = false});
  const auto answers = askForContent();
  ASSERT_THAT(answers, SizeIs(1));
  EXPECT_EQ(answers[0].content, nullptr);
  EXPECT_EQ(answers[0].error, std::nullopt);
}

TEST_F(ScreenCaptureTest, NamesTheDomainOfStreamErrors) {
  EXPECT_EQ(capture.streamErrorDomain(), SCStreamErrorDomain.UTF8String);
}

TEST_F(ScreenCaptureTest, MakesAStreamOfOneWholeDisplay) {
  const auto delegate = std::make_shared<RecordingDelegate>();
  const auto display = askForContent().at(0).content->displays.at(1);
  const auto stream = capture.makeStream(ContentFilter{display}, configuration, delegate);
  const auto filters = standin::callsOf("-[SCContentFilter initWithDisplay:excludingWindows:]");
  ASSERT_THAT(filters, SizeIs(1));
  EXPECT_THAT(filters[0].arguments, ElementsAre("9", "0"));
  ASSERT_THAT(standin::captureStreams(), SizeIs(1));
  EXPECT_EQ(newestStream()->displayID(), 9);
  EXPECT_EQ(newestStream()->excludedWindows(), 0);
  EXPECT_FALSE(newestStream()->isRunning());
}

TEST_F(ScreenCaptureTest, ConfiguresTheStreamWithSixPropertiesAndNoOther) {
  const auto display = firstDisplay();
  standin::resetCallLog();
  const auto stream = capture.makeStream(ContentFilter{display},
                                         {.width = 1920,
                                          .height = 1200,
                                          .minimumFrameInterval = {2, 59},
                                          .queueDepth = 5,
                                          .showsCursor = false,
                                          .pixelFormat = pixelFormat32BGRA},
                                         {});
  EXPECT_THAT(
      standin::callNames(),
      ElementsAre("-[SCContentFilter initWithDisplay:excludingWindows:]",
                  "-[SCStreamConfiguration setWidth:]", "-[SCStreamConfiguration setHeight:]",
                  "CMTimeMake", "-[SCStreamConfiguration setMinimumFrameInterval:]",
                  "-[SCStreamConfiguration setQueueDepth:]",
                  "-[SCStreamConfiguration setShowsCursor:]",
                  "-[SCStreamConfiguration setPixelFormat:]",
                  "-[SCStream initWithFilter:configuration:delegate:]"));
  EXPECT_THAT(newestStream()->settings(),
              ElementsAre(standin::StreamSettings{.width = 1920,
                                                  .height = 1200,
                                                  .intervalValue = 2,
                                                  .intervalTimescale = 59,
                                                  .queueDepth = 5,
                                                  .showsCursor = false,
                                                  .pixelFormat = kCVPixelFormatType_32BGRA}));
}

TEST_F(ScreenCaptureDeathTest, RefusesADisplayOfAnotherMaker) {
  const ContentFilter filter{std::make_shared<ForeignDisplay>()};
  EXPECT_DEATH((void)capture.makeStream(filter, configuration, {}), "another maker");
}

TEST_F(ScreenCaptureDeathTest, RefusesToMakeAStreamOfNoDisplay) {
  EXPECT_DEATH((void)capture.makeStream(ContentFilter{}, configuration, {}), "another maker");
}

}  // namespace
}  // namespace quorvin
