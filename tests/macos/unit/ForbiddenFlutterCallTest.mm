#import <AppKit/AppKitControl.h>
#import <FlutterMacOS/FlutterControl.h>
#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/FlutterPluginRegistrarStandIn.h>
#import <Foundation/FoundationControl.h>
#import <file_selector_macos/file_selector_macos-Swift.h>

#include <gmock/gmock.h>

#include <memory>
#include <optional>

#include "tests/macos/standin/StandInTest.h"

// What Flutter's embedding would not forgive.

namespace {

using standin::callsOf;
using standin::DartSide;
using standin::takeViolations;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

class ForbiddenFlutterCall : public standin::StandInTest {
 protected:
  void SetUp() override {
    standin::resetAppKit();
    standin::resetFoundation();
    StandInTest::SetUp();
    @autoreleasepool {
      controller = [[FlutterViewController alloc] init];
      [controller viewWillAppear];
      ui.emplace(controller.engine);
    }
    standin::resetCallLog();
  }
  void TearDown() override {
    @autoreleasepool {
      controller = nil;
    }
    ui.reset();
    standin::resetAppKit();
    StandInTest::TearDown();
  }

  NSObject<FlutterBinaryMessenger>* messenger() { return controller.engine.binaryMessenger; }
  FlutterMethodChannel* methodChannel() {
    return [FlutterMethodChannel methodChannelWithName:@"c" binaryMessenger:messenger()];
  }

  FlutterViewController* controller;
  std::optional<DartSide> ui;
};

TEST_F(ForbiddenFlutterCall, EndsItsEngineWhenTheApplicationTerminates) {
  [NSApplication sharedApplication];
  [NSApp terminate:nil];
  EXPECT_FALSE(controller.engine.isRunning);
  EXPECT_FALSE([controller.engine runWithEntrypoint:nil]);
  ui->call("c", "early");
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("does not run")));
}

TEST_F(ForbiddenFlutterCall, HasNoUserInterfaceWithoutItsEngine) {
  @autoreleasepool {
    controller = nil;
  }
  EXPECT_FALSE(ui->call("c", "late")->hasArrived);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("has gone")));
  EXPECT_THAT(ui->takeEvents("c"), IsEmpty());
  EXPECT_THAT(ui->takeTexts("c"), IsEmpty());
}

TEST_F(ForbiddenFlutterCall, ReportsASecondAnswer) {
  @autoreleasepool {
    [methodChannel() setMethodCallHandler:^(FlutterMethodCall* call, FlutterResult result) {
      result(call.arguments);
      result(nil);
    }];
  }
  EXPECT_THAT(ui->call("c", "m", 5)->answer, VariantWith<quorvin::Value>(quorvin::Value(5)));
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("answered twice")));
}

TEST_F(ForbiddenFlutterCall, ReportsARemovalOfAHandlerThatWasNeverSet) {
  @autoreleasepool {
    [methodChannel() setMethodCallHandler:nil];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("never set")));
}

TEST_F(ForbiddenFlutterCall, ReportsACallThatIsNone) {
  @autoreleasepool {
    [methodChannel() setMethodCallHandler:^(FlutterMethodCall*, FlutterResult result) {
      result(nil);
    }];
    [controller.engine standInDeliver:quorvin::Bytes{1}
                            onChannel:"c"
                               answer:[](const standin::WireMessage& /*reply*/) {}];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("Corrupted")));
}

TEST_F(ForbiddenFlutterCall, RefusesWhatAFormatCannotSay) {
  EXPECT_EQ([[FlutterStringCodec sharedInstance] encode:@5], nil);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("something else")));
  FlutterStandardMethodCodec* codec = [FlutterStandardMethodCodec sharedInstance];
  @autoreleasepool {
    [codec encodeSuccessEnvelope:[[NSObject alloc] init]];
    const unichar lone = 0xD800;
    [codec encodeSuccessEnvelope:[NSString stringWithCharacters:&lone length:1]];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("NSObject"), HasSubstr("UTF-8")));
}

TEST_F(ForbiddenFlutterCall, RefusesTypedDataAndErrorsThatAreIncomplete) {
  @autoreleasepool {
    NSData* none = nil;
    NSString* noCode = nil;
    [FlutterStandardTypedData typedDataWithBytes:none];
    [FlutterStandardTypedData typedDataWithInt32:[NSData dataWithBytes:"abc" length:3]];
    [FlutterError errorWithCode:noCode message:nil details:nil];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("without data"), HasSubstr("within an"),
                                            HasSubstr("without a code")));
}

TEST_F(ForbiddenFlutterCall, RegistersAPluginWithARegistrarOnly) {
  @autoreleasepool {
    id<FlutterPluginRegistrar> none = nil;
    [FileSelectorPlugin registerWithRegistrar:none];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("other than a registrar")));
}

TEST_F(ForbiddenFlutterCall, HasNoLaunchingToFinishUnlessToldSo) {
  EXPECT_FALSE(
      [FlutterAppDelegate instancesRespondToSelector:@selector(applicationDidFinishLaunching:)]);
  @autoreleasepool {
    [[[FlutterAppDelegate alloc] init]
        applicationDidFinishLaunching:[NSNotification notificationWithName:@"n" object:nil]];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("unrecognized selector")));
}

TEST_F(ForbiddenFlutterCall, GoesOnAfterItsEngineAsANuisanceToNobody) {
  NSObject<FlutterBinaryMessenger>* late = nil;
  @autoreleasepool {
    late = messenger();
    controller = nil;
  }
  [late sendOnChannel:@"c" message:nil];
  [late cleanUpConnection:1];
  EXPECT_EQ([late setMessageHandlerOnChannel:@"c" binaryMessageHandler:nil], -1);
  EXPECT_THAT(callsOf("Communicating on a dead channel"), SizeIs(3));
}

TEST_F(ForbiddenFlutterCall, BelongsToTheMainThread) {
  NSObject<FlutterBinaryMessenger>* shared = messenger();
  standin::onSystemThread([shared] {
    @autoreleasepool {
      [shared sendOnChannel:@"c" message:nil];
    }
  });
  standin::settle();
  EXPECT_THAT(takeViolations(), Contains(HasSubstr("sendOnChannel")));
}

}  // namespace
