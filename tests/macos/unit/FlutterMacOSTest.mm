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

// A stream handler that keeps what it was given.
@interface FlutterTestStreamHandler : NSObject <FlutterStreamHandler>
@property(copy) FlutterEventSink sink;
@end

@implementation FlutterTestStreamHandler
- (FlutterError*)onListenWithArguments:(id)arguments eventSink:(FlutterEventSink)events {
  self.sink = events;
  return nil;
}
- (FlutterError*)onCancelWithArguments:(id)arguments {
  standin::record("cancelled", {arguments == nil ? "nil" : "arguments"});
  return nil;
}
@end

namespace {

using standin::callsOf;
using standin::DartSide;
using standin::EndOfStream;
using standin::takeViolations;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

class FlutterMacOSTest : public standin::StandInTest {
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

TEST_F(FlutterMacOSTest, RunsTheEngineFromWhenItsViewAppears) {
  @autoreleasepool {
    FlutterViewController* unseen = [[FlutterViewController alloc] init];
    const DartSide itsUi(unseen.engine);
    EXPECT_FALSE(itsUi.isRunning());
    [unseen viewWillAppear];
    EXPECT_TRUE(itsUi.isRunning());
    [unseen viewWillAppear];
    EXPECT_THAT(callsOf("-[FlutterEngine runWithEntrypoint:]"), SizeIs(1));
    EXPECT_EQ(unseen.engine.viewController, unseen);
  }
}

TEST_F(FlutterMacOSTest, LosesWhatIsSentBeforeTheEngineRuns) {
  @autoreleasepool {
    FlutterViewController* unseen = [[FlutterViewController alloc] init];
    [unseen.engine.binaryMessenger sendOnChannel:@"c" message:nil];
    EXPECT_THAT(callsOf("Failed to send message to Flutter engine"), SizeIs(1));
    [unseen viewWillAppear];
    EXPECT_THAT(DartSide(unseen.engine).takeEvents("c"), IsEmpty());
  }
}

TEST_F(FlutterMacOSTest, EndsItsEngineWhenTheApplicationTerminates) {
  [NSApplication sharedApplication];
  [NSApp terminate:nil];
  EXPECT_FALSE(ui->isRunning());
  EXPECT_FALSE([controller.engine runWithEntrypoint:nil]);
  ui->call("c", "early");
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("does not run")));
}

TEST_F(FlutterMacOSTest, HasNoUserInterfaceWithoutItsEngine) {
  @autoreleasepool {
    controller = nil;
  }
  EXPECT_FALSE(ui->call("c", "late")->hasArrived);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("has gone")));
  EXPECT_THAT(ui->takeEvents("c"), IsEmpty());
  EXPECT_THAT(ui->takeTexts("c"), IsEmpty());
}

TEST_F(FlutterMacOSTest, AnswersThatNobodyImplementsAMethod) {
  EXPECT_THAT(ui->call("c", "m")->answer, VariantWith<quorvin::FlutterMethodNotImplemented>(
                                              quorvin::FlutterMethodNotImplemented()));
}

TEST_F(FlutterMacOSTest, ReportsASecondAnswer) {
  @autoreleasepool {
    [methodChannel() setMethodCallHandler:^(FlutterMethodCall* call, FlutterResult result) {
      result(call.arguments);
      result(nil);
    }];
  }
  EXPECT_THAT(ui->call("c", "m", 5)->answer, VariantWith<quorvin::Value>(quorvin::Value(5)));
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("answered twice")));
}

TEST_F(FlutterMacOSTest, ReportsARemovalOfAHandlerThatWasNeverSet) {
  @autoreleasepool {
    [methodChannel() setMethodCallHandler:nil];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("never set")));
}

TEST_F(FlutterMacOSTest, RemovesAHandlerOnlyWhileItIsTheCurrentOne) {
  @autoreleasepool {
    FlutterMethodChannel* first = methodChannel();
    FlutterMethodChannel* second = methodChannel();
    [first setMethodCallHandler:^(FlutterMethodCall*, FlutterResult){
    }];
    [second setMethodCallHandler:^(FlutterMethodCall*, FlutterResult){
    }];
    [first setMethodCallHandler:nil];
    EXPECT_TRUE(ui->hasHandler("c"));
    [second setMethodCallHandler:nil];
    EXPECT_FALSE(ui->hasHandler("c"));
  }
}

TEST_F(FlutterMacOSTest, ReportsACallThatIsNone) {
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

TEST_F(FlutterMacOSTest, PlaysAnEventStreamToItsEnd) {
  @autoreleasepool {
    FlutterTestStreamHandler* handler = [[FlutterTestStreamHandler alloc] init];
    FlutterEventChannel* channel = [FlutterEventChannel eventChannelWithName:@"e"
                                                             binaryMessenger:messenger()];
    [channel setStreamHandler:handler];
    ui->listen("e");
    handler.sink(@5);
    handler.sink([FlutterError errorWithCode:@"code" message:nil details:@[]]);
    handler.sink(FlutterEndOfEventStream);
    EXPECT_THAT(ui->takeEvents("e"),
                ElementsAre(VariantWith<quorvin::Value>(quorvin::Value(5)),
                            VariantWith<quorvin::FlutterError>(
                                quorvin::FlutterError{"code", std::nullopt, quorvin::List{}}),
                            VariantWith<EndOfStream>(EndOfStream())));
    EXPECT_THAT(ui->call("e", "other")->answer, VariantWith<quorvin::FlutterMethodNotImplemented>(
                                                    quorvin::FlutterMethodNotImplemented()));
    ui->listen("e");
    EXPECT_THAT(callsOf("cancelled").at(0).arguments, ElementsAre("nil"));
    ui->cancel("e", 1);
    EXPECT_THAT(callsOf("cancelled").at(1).arguments, ElementsAre("arguments"));
    handler.sink = nil;
  }
}

TEST_F(FlutterMacOSTest, SpeaksPlainTexts) {
  FlutterStringCodec* codec = [FlutterStringCodec sharedInstance];
  EXPECT_EQ([codec encode:nil], nil);
  EXPECT_EQ([codec decode:nil], nil);
  @autoreleasepool {
    EXPECT_TRUE([[codec decode:[codec encode:@"text"]] isEqual:@"text"]);
    EXPECT_EQ([codec encode:@5], nil);
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("something else")));
}

TEST_F(FlutterMacOSTest, DecodesItsOwnEnvelopes) {
  @autoreleasepool {
    FlutterStandardMethodCodec* codec = [FlutterStandardMethodCodec sharedInstance];
    EXPECT_TRUE([[codec decodeEnvelope:[codec encodeSuccessEnvelope:@5]] isEqual:@5]);
    FlutterError* error =
        [codec decodeEnvelope:[codec encodeErrorEnvelope:[FlutterError errorWithCode:@"c"
                                                                             message:@"m"
                                                                             details:@"d"]]];
    EXPECT_TRUE([error.code isEqual:@"c"]);
    EXPECT_TRUE([error.message isEqual:@"m"]);
    EXPECT_TRUE([error.details isEqual:@"d"]);
    FlutterMethodCall* call =
        [codec decodeMethodCall:[codec encodeMethodCall:[FlutterMethodCall
                                                            methodCallWithMethodName:@"m"
                                                                           arguments:@[ @1 ]]]];
    EXPECT_TRUE([call.method isEqual:@"m"]);
    EXPECT_TRUE([call.arguments isEqual:@[ @1 ]]);
  }
}

TEST_F(FlutterMacOSTest, RefusesTypedDataAndErrorsThatAreIncomplete) {
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

TEST_F(FlutterMacOSTest, HandsOutOneRegistrarAKey) {
  @autoreleasepool {
    const id<FlutterPluginRegistrar> first = [controller registrarForPlugin:@"a"];
    EXPECT_EQ([controller registrarForPlugin:@"a"], first);
    EXPECT_NE([controller registrarForPlugin:@"b"], first);
    EXPECT_EQ(first.messenger, messenger());
  }
}

TEST_F(FlutterMacOSTest, RegistersAPluginWithARegistrarOnly) {
  @autoreleasepool {
    id<FlutterPluginRegistrar> none = nil;
    [FileSelectorPlugin registerWithRegistrar:none];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("other than a registrar")));
}

TEST_F(FlutterMacOSTest, HasNoLaunchingToFinishUnlessToldSo) {
  EXPECT_FALSE(
      [FlutterAppDelegate instancesRespondToSelector:@selector(applicationDidFinishLaunching:)]);
  EXPECT_TRUE(
      [FlutterAppDelegate instancesRespondToSelector:@selector(applicationShouldTerminate:)]);
  @autoreleasepool {
    [[[FlutterAppDelegate alloc] init]
        applicationDidFinishLaunching:[NSNotification notificationWithName:@"n" object:nil]];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("unrecognized selector")));
}

TEST_F(FlutterMacOSTest, AsksTheUserInterfaceNothing) {
  @autoreleasepool {
    [messenger() sendOnChannel:@"c"
                       message:nil
                   binaryReply:^(NSData*){
                   }];
  }
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("no reply")));
}

TEST_F(FlutterMacOSTest, GoesOnAfterItsEngineAsANuisanceToNobody) {
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

TEST_F(FlutterMacOSTest, BelongsToTheMainThread) {
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
