#include "tests/macos/host/HostFixture.h"

#import <AppKit/DecodedJpeg.h>
#import <ApplicationServices/ApplicationServicesControl.h>
#import <CoreGraphics/CoreGraphicsControl.h>
#import <Foundation/FoundationControl.h>

namespace quorvin {
namespace {

using standin::CaptureRequest;
using standin::Colour;
using standin::DartEvent;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

constexpr Colour red{.red = 200, .green = 30, .blue = 20};
constexpr Colour blue{.red = 10, .green = 40, .blue = 210};
constexpr std::uint64_t second = 1'000'000'000;

class SessionTest : public HostFixture {
 protected:
  // The frames among the events since the last time, by colour.
  std::vector<bool> takeFramesLike(Colour colour) {
    std::vector<bool> alike;
    for (const auto& event : takeEvents()) {
      const auto shown = frameColour(event);
      EXPECT_TRUE(shown.has_value());
      alike.push_back(shown && standin::isClose(*shown, colour));
    }
    return alike;
  }
  static Value settings(std::int64_t maxWidth, std::int64_t queueDepth = 5) {
    return Map{{"profile", "fast"},     {"show_cursor", false}, {"codec", "jpeg"},
               {"max_width", maxWidth}, {"max_height", 480},    {"fps", 15},
               {"bitrate_mbps", 4},     {"jpeg_quality", 60},   {"queue_depth", queueDepth}};
  }
  static FlutterError stopEvent(const std::string& code, const standin::ErrorScript& error) {
    return {code, error.description, Map{{"domain", error.domain}, {"code", error.code}}};
  }
};

// Maps come in no order of their own.
void expectStopEvent(const std::vector<DartEvent>& events, const FlutterError& expected) {
  ASSERT_THAT(events, SizeIs(1));
  const auto* error = std::get_if<FlutterError>(&events[0]);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code, expected.code);
  EXPECT_EQ(error->message, expected.message);
  const auto* details = error->details.as<Map>();
  ASSERT_NE(details, nullptr);
  EXPECT_EQ(details->size(), 2U);
  for (const auto* key : {"domain", "code"}) {
    ASSERT_NE(details->find(key), nullptr);
    EXPECT_EQ(*details->find(key), *expected.details.as<Map>()->find(key));
  }
}

TEST_F(SessionTest, BringsFramesToTheUserInterface) {
  run([this] {
    startSession();
    EXPECT_EQ(newestStream()->displayID(), 7U);
    EXPECT_THAT(newestStream()->settings(),
                ElementsAre(standin::StreamSettings{.width = 240,
                                                    .height = 150,
                                                    .intervalValue = 1,
                                                    .intervalTimescale = 30,
                                                    .queueDepth = 3,
                                                    .showsCursor = true}));
    EXPECT_TRUE(sendFrame(red));
    EXPECT_THAT(takeFramesLike(red), ElementsAre(true));
    EXPECT_TRUE(sendFrame(blue));
    EXPECT_THAT(takeFramesLike(blue), ElementsAre(true));
    EXPECT_EQ(newestStream()->framesHeld(), 0U);
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, KeepsTheMachineAwakeWhileItLasts) {
  run([this] {
    EXPECT_THAT(standin::runningActivities(), IsEmpty());
    startSession();
    EXPECT_THAT(standin::runningActivities(),
                ElementsAre(standin::Activity{0xFF00FFFFFF,
                                              "An authorized Quorvin support session is active."}));
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_THAT(standin::runningActivities(), IsEmpty());
  });
}

TEST_F(SessionTest, SendsNothingThatIsNoCompleteFrame) {
  run([this] {
    startSession();
    @autoreleasepool {
      sendSample({ .attachments = standin::attachmentsWithStatus(@1) });
      sendSample({.isValid = false});
      sendSample({.hasFrame = false});
      sendSample({.attachments = nil});
    }
    EXPECT_THAT(takeEvents(), IsEmpty());
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, SendsNothingWhileNobodyListens) {
  run([this] {
    EXPECT_EQ(answer("startCapture", consent()), nothing());
    sendFrame(red);
    EXPECT_THAT(takeEvents(), IsEmpty());
    listen();
    sendFrame(red);
    EXPECT_THAT(takeFramesLike(red), ElementsAre(true));
    EXPECT_EQ(ui().cancel("com.quorvin.support/frames")->answer, nothing());
    sendFrame(red);
    EXPECT_THAT(takeEvents(), IsEmpty());
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, NeedsConsent) {
  run([this] {
    const auto refusal = error("consent_required", "Local customer authorization is required.");
    EXPECT_EQ(answer("startCapture"), refusal);
    EXPECT_EQ(answer("startCapture", List{true}), refusal);
    EXPECT_EQ(answer("startCapture", Map{{"locallyAuthorized", 1}}), refusal);
    EXPECT_EQ(answer("startCapture", Map{{"unattended", true}}), refusal);
    EXPECT_EQ(answer("startCapture", Map{{1, true}, {"locallyAuthorized", true}}), refusal);
  });
  EXPECT_THAT(standin::captureStreams(), IsEmpty());
}

TEST_F(SessionTest, StartsInAnUnattendedRunThatIsAuthorized) {
  authorizeUnattended("Front desk");
  run([this] {
    listen();
    EXPECT_EQ(answer("startCapture", Map{{"unattended", true}}), nothing());
    sendFrame(red);
    EXPECT_THAT(takeFramesLike(red), ElementsAre(true));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, NeedsBothPermissions) {
  run([this] {
    standin::setScreenCapturePreflight(false);
    EXPECT_EQ(answer("startCapture", consent()),
              error("screen_recording_required", "Allow Screen Recording in System Settings."));
    standin::setScreenCapturePreflight(true);
    standin::setProcessTrusted(false);
    EXPECT_EQ(answer("startCapture", consent()),
              error("accessibility_required", "Allow Accessibility in System Settings."));
    EXPECT_THAT(standin::runningActivities(), IsEmpty());
    const auto permissions = std::get<Value>(answer("permissions"));
    EXPECT_EQ(*permissions.as<Map>()->find("screenRecording"), Value(true));
    EXPECT_EQ(*permissions.as<Map>()->find("accessibility"), Value(false));
  });
  EXPECT_THAT(standin::captureStreams(), IsEmpty());
}

TEST_F(SessionTest, StopsAndStartsAgain) {
  run([this] {
    startSession();
    const auto first = newestStream();
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_FALSE(first->isRunning());
    EXPECT_FALSE(first->isAlive());
    EXPECT_EQ(answer("stopCapture"), nothing());
    EXPECT_EQ(answer("startCapture", consent()), nothing());
    EXPECT_NE(newestStream(), first);
    EXPECT_TRUE(sendFrame(blue));
    EXPECT_THAT(takeFramesLike(blue), ElementsAre(true));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, DropsAFrameThatIsOnItsWayWhenItStops) {
  run([this] {
    startSession();
    @autoreleasepool {
      newestStream()->sendSample({.colour = red});
    }
    ui().call("com.quorvin.support/host", "stopCapture");
    standin::settle();
    EXPECT_THAT(takeEvents(), IsEmpty());
  });
}

TEST_F(SessionTest, ReplacesASessionByANewOne) {
  run([this] {
    startSession();
    const auto first = newestStream();
    EXPECT_EQ(answer("startCapture", consent()), nothing());
    EXPECT_FALSE(first->isAlive());
    EXPECT_TRUE(sendFrame(blue));
    EXPECT_THAT(takeFramesLike(blue), ElementsAre(true));
    EXPECT_THAT(standin::runningActivities(), SizeIs(1));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, CancelsAStartThatIsStoppedUnderWay) {
  run([this] {
    standin::holdAnswers();
    const auto start = call("startCapture", consent());
    EXPECT_FALSE(start->hasArrived);
    EXPECT_EQ(answer("stopCapture"), nothing());
    standin::releaseAnswers();
    standin::settle();
    ASSERT_TRUE(start->hasArrived);
    EXPECT_EQ(start->answer, error("capture_cancelled", "Support was stopped."));
  });
}

TEST_F(SessionTest, ReportsAStartThatFails) {
  run([this] {
    standin::failNext(CaptureRequest::start, standin::streamError(SCStreamErrorFailedToStart,
                                                                  "The stream did not start."));
    EXPECT_EQ(answer("startCapture", consent()),
              error("capture_failed", "The stream did not start."));
    EXPECT_THAT(standin::runningActivities(), IsEmpty());
    standin::setShareableContent({.displays = {}});
    EXPECT_EQ(answer("startCapture", consent()),
              error("capture_failed", "No display is available to share."));
  });
}

TEST_F(SessionTest, ChangesItsPictureSettings) {
  standin::setShareableContent({.displays = {{.displayID = 7, .width = 1440, .height = 900}}});
  run([this] {
    const auto refusal = error("bad_stream_settings", "Invalid picture settings.");
    EXPECT_EQ(answer("configureStream", settings(640)), refusal);
    startSession();
    EXPECT_EQ(answer("configureStream", settings(639)), refusal);
    EXPECT_EQ(answer("configureStream", settings(640)), nothing());
    EXPECT_EQ(newestStream()->settings().back(), (standin::StreamSettings{.width = 640,
                                                                          .height = 400,
                                                                          .intervalValue = 1,
                                                                          .intervalTimescale = 15,
                                                                          .queueDepth = 5,
                                                                          .showsCursor = false}));
    EXPECT_TRUE(sendFrame(red));
    EXPECT_THAT(takeFramesLike(red), ElementsAre(true));
    standin::failNext(CaptureRequest::update, {"com.example", 1, "No."});
    EXPECT_EQ(answer("configureStream", settings(800)), error("stream_settings_failed", "No."));
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, ReportsAQueueThatIsTooShortForTheSystem) {
  standin::setShareableContent({.displays = {{.displayID = 7, .width = 1440, .height = 900}}});
  run([this] {
    startSession();
    EXPECT_EQ(answer("configureStream", settings(640, 2)),
              error("stream_settings_failed", "The queue is too short."));
    EXPECT_TRUE(sendFrame(red)) << "with the settings before";
    EXPECT_THAT(takeFramesLike(red), ElementsAre(true));
    EXPECT_EQ(answer("configureStream", settings(640, 3)), nothing());
    EXPECT_EQ(answer("stopCapture"), nothing());
  });
}

TEST_F(SessionTest, ReportsThatTheSystemStoppedIt) {
  run([this] {
    startSession();
    const standin::ErrorScript reason{"com.example", 5, "The display went away."};
    newestStream()->stopWithError(reason);
    standin::settle();
    expectStopEvent(takeEvents(), stopEvent("capture_stopped", reason));
    EXPECT_THAT(standin::runningActivities(), IsEmpty());
  });
}

TEST_F(SessionTest, ReportsThatTheUserStoppedItWhereTheSystemTells) {
  for (const long major : {14L, 15L}) {
    standin::setSystemVersion(major, 0);
    run([this, major] {
      startSession();
      const auto reason = standin::streamError(SCStreamErrorUserStopped, "The user stopped it.");
      newestStream()->stopWithError(reason);
      standin::settle();
      expectStopEvent(takeEvents(),
                      stopEvent(major == 15 ? "capture_user_stopped" : "capture_stopped", reason));
    });
  }
}

TEST_F(SessionTest, ReportsThatSamplesStoppedArriving) {
  run([this] {
    startSession();
    standin::advance(5 * second);
    sendSample({.hasFrame = false});  // any sample shows that the stream is alive
    standin::advance(5 * second);
    EXPECT_THAT(takeEvents(), IsEmpty());
    standin::advance(3 * second);
    expectStopEvent(takeEvents(),
                    {"capture_stopped", "ScreenCaptureKit stopped delivering capture samples.",
                     Map{{"domain", "com.quorvin.support.capture"}, {"code", 3}}});
    EXPECT_FALSE(newestStream()->isRunning());
    EXPECT_THAT(standin::runningActivities(), IsEmpty());
  });
}

TEST_F(SessionTest, EndsWithTheApplication) {
  run([this] {
    startSession();
    EXPECT_TRUE(sendFrame(red));
    [window() close];
    EXPECT_TRUE(standin::applicationHasTerminated());
  });
  EXPECT_FALSE(newestStream()->isRunning());
}

TEST_F(SessionTest, EndsWithTheApplicationWhileItStarts) {
  run([this] {
    standin::holdAnswers();
    call("startCapture", consent());
  });
  standin::releaseAnswers();
  standin::settle();
}

}  // namespace
}  // namespace quorvin
