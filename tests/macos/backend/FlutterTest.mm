#import "platform/macos/Flutter.h"

#include <gmock/gmock.h>

#include <string>

#import "platform/macos/FlutterPlugins.h"
#include "tests/macos/backend/FlutterFixture.h"

namespace quorvin {
namespace {

using standin::callNames;
using standin::callsOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class FlutterTest : public FlutterFixture {};

TEST_F(FlutterTest, MakesAViewControllerWhoseMessengerIsUsableAtOnce) {
  @autoreleasepool {
    const auto fresh = flutter.makeViewController();
    EXPECT_THAT(callsOf("-[FlutterViewController initWithNibName:bundle:]"), SizeIs(1));
    const auto channel = flutter.makeMethodChannel("early", fresh->binaryMessenger());
    channel->setMethodCallHandler(
        [](const FlutterMethodCall& /*call*/, const FlutterResult& result) { result(Value()); });
    FlutterEngine* engine = dynamic_cast<MacFlutterViewController&>(*fresh).controller().engine;
    EXPECT_TRUE(standin::DartSide(engine).hasHandler("early"));
  }
}

TEST_F(FlutterTest, RegistersPluginsUnderTheirKeys) {
  controller->registerPlugin("FileSelectorPlugin");
  controller->registerPlugin("SharedPreferencesPlugin");
  EXPECT_THAT(callNames(), ElementsAre("-[FlutterEngine registrarForPlugin:]",
                                       "+[FileSelectorPlugin registerWithRegistrar:]",
                                       "-[FlutterEngine registrarForPlugin:]",
                                       "+[SharedPreferencesPlugin registerWithRegistrar:]"));
  const auto calls = standin::calls();
  EXPECT_THAT(calls[0].arguments, ElementsAre("FileSelectorPlugin"));
  EXPECT_THAT(calls[1].arguments, ElementsAre("FileSelectorPlugin"));
  EXPECT_THAT(calls[2].arguments, ElementsAre("SharedPreferencesPlugin"));
  EXPECT_THAT(calls[3].arguments, ElementsAre("SharedPreferencesPlugin"));
}

TEST_F(FlutterTest, StopsTheProcessOverAPluginThatItWasBuiltWithout) {
  EXPECT_DEATH(controller->registerPlugin("Unknown"), "built without the plug-in");
}

TEST_F(FlutterTest, SendsTextsAsTheyAre) {
  const auto channel = flutter.makeBasicMessageChannel("flutter/lifecycle", messenger);
  const auto made = callsOf("-[FlutterBasicMessageChannel initWithName:binaryMessenger:codec:]");
  ASSERT_THAT(made, SizeIs(1));
  EXPECT_THAT(made[0].arguments, ElementsAre("flutter/lifecycle"));
  channel->sendMessage("AppLifecycleState.resumed");
  channel->sendMessage("\xE2\x98\xBA");
  channel->sendMessage("");
  EXPECT_THAT(ui->takeTexts("flutter/lifecycle"),
              ElementsAre("AppLifecycleState.resumed", "\xE2\x98\xBA", ""));
}

TEST_F(FlutterTest, MaySendATextWhenTheEngineHasGone) {
  const auto channel = flutter.makeBasicMessageChannel("flutter/lifecycle", messenger);
  endEngine();
  channel->sendMessage("AppLifecycleState.hidden");
  EXPECT_THAT(callsOf("Communicating on a dead channel"), SizeIs(1));
}

TEST_F(FlutterTest, CannotMakeATextChannelOnAnotherMakersMessenger) {
  EXPECT_DEATH((void)flutter.makeBasicMessageChannel("flutter/lifecycle",
                                                     std::make_shared<ForeignMessenger>()),
               "another maker");
}

}  // namespace
}  // namespace quorvin
