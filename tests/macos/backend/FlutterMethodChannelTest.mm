#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/macos/backend/FlutterFixture.h"

namespace quorvin {
namespace {

using standin::callsOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

constexpr auto name = "com.quorvin.support/host";
constexpr auto removal = "-[FlutterMethodChannel setMethodCallHandler:nil]";

class FlutterMethodChannelTest : public FlutterFixture {
 protected:
  void SetUp() override {
    FlutterFixture::SetUp();
    channel = flutter.makeMethodChannel(name, messenger);
  }
  void TearDown() override {
    channel.reset();
    FlutterFixture::TearDown();
  }

  void answerWith(const FlutterReply& reply) {
    channel->setMethodCallHandler(
        [this, reply](const FlutterMethodCall& call, const FlutterResult& result) {
          calls.push_back(call);
          result(reply);
        });
  }
  FlutterReply answer() {
    const auto reply = ui->call(name, "ask");
    EXPECT_TRUE(reply->hasArrived);
    return reply->answer;
  }

  std::unique_ptr<FlutterMethodChannel> channel;
  std::vector<FlutterMethodCall> calls;
};

TEST_F(FlutterMethodChannelTest, IsMadeWithItsNameOnTheEnginesMessenger) {
  EXPECT_EQ(callsOf("+[FlutterMethodChannel methodChannelWithName:binaryMessenger:]"),
            std::vector({standin::Call{
                .name = "+[FlutterMethodChannel methodChannelWithName:binaryMessenger:]",
                .arguments = {name},
                .queue = "",
                .onMainThread = true}}));
  EXPECT_FALSE(ui->hasHandler(name));
  answerWith(Value());
  EXPECT_TRUE(ui->hasHandler(name));
}

TEST_F(FlutterMethodChannelTest, HandsOverMethodAndArguments) {
  answerWith(Value());
  const Value arguments = Map{{"locallyAuthorized", true}, {"fps", 30}};
  ui->call(name, "startCapture", arguments);
  ui->call(name, "stopCapture");
  ASSERT_THAT(calls, SizeIs(2));
  EXPECT_EQ(calls[0].method, "startCapture");
  const auto* map = calls[0].arguments.as<Map>();
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(*map->find("locallyAuthorized"), Value(true));
  EXPECT_EQ(*map->find("fps"), Value(30));
  EXPECT_TRUE(calls[1].arguments.isNull());
}

TEST_F(FlutterMethodChannelTest, AnswersWithAValue) {
  answerWith(Value(List{1, "two"}));
  EXPECT_THAT(answer(), VariantWith<Value>(Value(List{1, "two"})));
  answerWith(Value());
  EXPECT_THAT(answer(), VariantWith<Value>(Value()));
}

TEST_F(FlutterMethodChannelTest, AnswersWithAnError) {
  const FlutterError full{"capture_failed", "It failed.", Map{{"code", -1}}};
  answerWith(full);
  EXPECT_THAT(answer(), VariantWith<FlutterError>(full));
  const FlutterError bare{"consent_required", std::nullopt, {}};
  answerWith(bare);
  EXPECT_THAT(answer(), VariantWith<FlutterError>(bare));
}

TEST_F(FlutterMethodChannelTest, AnswersThatAMethodIsNotImplemented) {
  answerWith(FlutterMethodNotImplemented());
  EXPECT_THAT(answer(), VariantWith<FlutterMethodNotImplemented>(FlutterMethodNotImplemented()));
}

TEST_F(FlutterMethodChannelTest, AnswersLater) {
  FlutterResult pending;
  channel->setMethodCallHandler([&](const FlutterMethodCall& /*call*/, FlutterResult result) {
    pending = std::move(result);
  });
  const auto reply = ui->call(name, "ask");
  EXPECT_FALSE(reply->hasArrived);
  std::exchange(pending, nullptr)(Value(5));
  ASSERT_TRUE(reply->hasArrived);
  EXPECT_THAT(reply->answer, VariantWith<Value>(Value(5)));
}

TEST_F(FlutterMethodChannelTest, MayAnswerWhenTheEngineHasGone) {
  FlutterResult pending;
  channel->setMethodCallHandler([&](const FlutterMethodCall& /*call*/, FlutterResult result) {
    pending = std::move(result);
  });
  const auto reply = ui->call(name, "ask");
  endEngine();
  std::exchange(pending, nullptr)(Value(5));
  EXPECT_FALSE(reply->hasArrived);
}

TEST_F(FlutterMethodChannelTest, ReplacesItsHandler) {
  answerWith(Value(1));
  answerWith(Value(2));
  EXPECT_THAT(answer(), VariantWith<Value>(Value(2)));
  EXPECT_THAT(calls, SizeIs(1));
}

TEST_F(FlutterMethodChannelTest, RemovesItsHandlerOnce) {
  answerWith(Value());
  channel->setMethodCallHandler({});
  EXPECT_FALSE(ui->hasHandler(name));
  channel->setMethodCallHandler({});
  EXPECT_THAT(callsOf(removal), SizeIs(1));
  EXPECT_THAT(answer(), VariantWith<FlutterMethodNotImplemented>(FlutterMethodNotImplemented()));
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(FlutterMethodChannelTest, RemovesNothingWhereNoHandlerWasSet) {
  channel->setMethodCallHandler({});
  EXPECT_THAT(callsOf(removal), IsEmpty());
}

TEST_F(FlutterMethodChannelTest, LeavesTheHandlerOfALaterChannelAlone) {
  answerWith(Value());
  const auto later = flutter.makeMethodChannel(name, messenger);
  later->setMethodCallHandler(
      [](const FlutterMethodCall& /*call*/, const FlutterResult& result) { result(Value(2)); });
  channel->setMethodCallHandler({});
  EXPECT_THAT(answer(), VariantWith<Value>(Value(2)));
}

TEST_F(FlutterMethodChannelTest, LeavesItsHandlerToTheMessenger) {
  answerWith(Value(1));
  channel.reset();
  EXPECT_THAT(answer(), VariantWith<Value>(Value(1)));
}

TEST_F(FlutterMethodChannelTest, LetsGoOfARemovedHandlerAndOfOneWhoseEngineHasGone) {
  for (const bool removes : {true, false}) {
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> weak = held;
    channel->setMethodCallHandler(
        [held = std::move(held)](const FlutterMethodCall& /*call*/, const FlutterResult& result) {
          result(Value(*held));
        });
    EXPECT_FALSE(weak.expired());
    if (removes) {
      channel->setMethodCallHandler({});
    } else {
      endEngine();
    }
    EXPECT_TRUE(weak.expired());
  }
  // What the engine's end leaves to be done is done on nobody.
  channel->setMethodCallHandler({});
}

TEST_F(FlutterMethodChannelTest, LetsAHandlerRemoveItselfWhileItRuns) {
  auto held = std::make_shared<int>(3);
  const std::weak_ptr<int> weak = held;
  channel->setMethodCallHandler([this, held = std::move(held)](const FlutterMethodCall& /*call*/,
                                                               const FlutterResult& result) {
    channel->setMethodCallHandler({});
    result(Value(*held));
  });
  EXPECT_THAT(answer(), VariantWith<Value>(Value(3)));
  EXPECT_TRUE(weak.expired());
}

TEST_F(FlutterMethodChannelTest, CannotBeMadeOnAnotherMakersMessenger) {
  EXPECT_DEATH((void)flutter.makeMethodChannel(name, std::make_shared<ForeignMessenger>()),
               "another maker");
}

}  // namespace
}  // namespace quorvin
