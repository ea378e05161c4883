#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "tests/macos/backend/FlutterFixture.h"

namespace quorvin {
namespace {

using standin::callsOf;
using standin::DartEvent;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::VariantWith;

constexpr auto name = "com.quorvin.support/frames";

class Listener final : public FlutterStreamHandler {
 public:
  std::optional<FlutterError> onListen(const Value& arguments, FlutterEventSink newSink) override {
    listens.push_back(arguments);
    sink = std::move(newSink);
    if (eventOnListen) sink(*eventOnListen);
    return listenError;
  }
  std::optional<FlutterError> onCancel(const Value& arguments) override {
    cancels.push_back(arguments);
    return cancelError;
  }

  std::vector<Value> listens;
  std::vector<Value> cancels;
  FlutterEventSink sink;
  std::optional<FlutterError> listenError;
  std::optional<FlutterError> cancelError;
  std::optional<FlutterEvent> eventOnListen;
};

class FlutterEventChannelTest : public FlutterFixture {
 protected:
  void SetUp() override {
    FlutterFixture::SetUp();
    channel = flutter.makeEventChannel(name, messenger);
    listener = std::make_shared<Listener>();
    channel->setStreamHandler(listener);
  }
  void TearDown() override {
    listener.reset();
    channel.reset();
    FlutterFixture::TearDown();
  }

  std::unique_ptr<FlutterEventChannel> channel;
  std::shared_ptr<Listener> listener;
};

TEST_F(FlutterEventChannelTest, IsMadeWithItsName) {
  const auto calls = callsOf("+[FlutterEventChannel eventChannelWithName:binaryMessenger:]");
  ASSERT_THAT(calls, SizeIs(1));
  EXPECT_THAT(calls[0].arguments, ElementsAre(name));
}

TEST_F(FlutterEventChannelTest, PassesOnWhoListensAndWhoCancels) {
  EXPECT_THAT(ui->listen(name, "why")->answer, VariantWith<Value>(Value()));
  EXPECT_THAT(listener->listens, ElementsAre(Value("why")));
  EXPECT_THAT(ui->cancel(name, 5)->answer, VariantWith<Value>(Value()));
  EXPECT_THAT(listener->cancels, ElementsAre(Value(5)));
}

TEST_F(FlutterEventChannelTest, SendsEventsInOrder) {
  ui->listen(name);
  listener->sink(Value(Data(Bytes{0xFF, 0xD8, 0xFF, 0xD9})));
  const FlutterError error{"capture_stopped", "It stopped.",
                           Map{{"domain", "SCStreamErrorDomain"}}};
  listener->sink(error);
  listener->sink(Value("text"));
  EXPECT_THAT(ui->takeEvents(name),
              ElementsAre(VariantWith<Value>(Value(Data(Bytes{0xFF, 0xD8, 0xFF, 0xD9}))),
                          VariantWith<FlutterError>(error), VariantWith<Value>(Value("text"))));
}

TEST_F(FlutterEventChannelTest, SendsWhatIsGivenWhileListeningBegins) {
  listener->eventOnListen = Value(1);
  ui->listen(name);
  EXPECT_THAT(ui->takeEvents(name), ElementsAre(VariantWith<Value>(Value(1))));
}

TEST_F(FlutterEventChannelTest, LeavesNothingOfAnEventBehind) {
  ui->listen(name);
  std::weak_ptr<const void> owner;
  {
    auto storage = std::make_shared<const Bytes>(Bytes(1000, 7));
    owner = storage;
    listener->sink(Value(Data(storage, *storage)));
  }
  EXPECT_TRUE(owner.expired());
  EXPECT_THAT(ui->takeEvents(name), SizeIs(1));
}

TEST_F(FlutterEventChannelTest, ReportsErrorsOfListeningAndCancelling) {
  const FlutterError listenError{"busy", "Somebody else listens.", {}};
  const FlutterError cancelError{"late", std::nullopt, 3};
  listener->listenError = listenError;
  listener->cancelError = cancelError;
  EXPECT_THAT(ui->listen(name)->answer, VariantWith<FlutterError>(listenError));
  EXPECT_THAT(ui->cancel(name)->answer, VariantWith<FlutterError>(cancelError));
}

TEST_F(FlutterEventChannelTest, CancelsTheFirstListenerForTheSecond) {
  ui->listen(name, 1);
  ui->listen(name, 2);
  EXPECT_THAT(listener->cancels, ElementsAre(Value()));
  EXPECT_THAT(listener->listens, ElementsAre(Value(1), Value(2)));
}

TEST_F(FlutterEventChannelTest, RefusesToCancelWhereNobodyListens) {
  EXPECT_THAT(ui->cancel(name)->answer,
              VariantWith<FlutterError>(FlutterError{"error", "No active stream to cancel", {}}));
  EXPECT_THAT(listener->cancels, IsEmpty());
}

TEST_F(FlutterEventChannelTest, RemovesItsHandlerWithoutCancelling) {
  ui->listen(name);
  channel->setStreamHandler(nullptr);
  EXPECT_THAT(callsOf("-[FlutterEventChannel setStreamHandler:nil]"), SizeIs(1));
  EXPECT_FALSE(ui->hasHandler(name));
  EXPECT_THAT(listener->cancels, IsEmpty());
  EXPECT_THAT(ui->cancel(name)->answer,
              VariantWith<FlutterMethodNotImplemented>(FlutterMethodNotImplemented()));
}

TEST_F(FlutterEventChannelTest, MayBeToldTwiceToRemoveItsHandler) {
  channel->setStreamHandler(nullptr);
  channel->setStreamHandler(nullptr);
  EXPECT_FALSE(ui->hasHandler(name));
}

TEST_F(FlutterEventChannelTest, LeavesItsHandlerToTheMessenger) {
  const std::weak_ptr<Listener> weak = listener;
  listener.reset();
  channel.reset();
  EXPECT_FALSE(weak.expired());
  EXPECT_THAT(ui->listen(name)->answer, VariantWith<Value>(Value()));
  endEngine();
  EXPECT_TRUE(weak.expired());
}

TEST_F(FlutterEventChannelTest, MaySendWhenTheEngineHasGone) {
  ui->listen(name);
  endEngine();
  listener->sink(Value(1));
  EXPECT_THAT(callsOf("Communicating on a dead channel"), SizeIs(1));
}

TEST_F(FlutterEventChannelTest, CannotBeMadeOnAnotherMakersMessenger) {
  EXPECT_DEATH((void)flutter.makeEventChannel(name, std::make_shared<ForeignMessenger>()),
               "another maker");
}

}  // namespace
}  // namespace quorvin
