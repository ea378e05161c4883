#include <string>
#include <vector>

#include "tests/contract/FlutterContract.h"

namespace quorvin::contract {
namespace {

using Calls = std::vector<std::string>;
using Events = std::vector<FlutterEvent>;

const UiReply success{Value()};
const UiReply nothingToCancel{FlutterError{"error", "No active stream to cancel", {}}};

}  // namespace

void FlutterEventContract::sendAndExpect(const FlutterEvent& event) {
  const auto known = world->events(name).size();
  handler->sinks.back()(event);
  ASSERT_TRUE(runUntil([&] { return world->events(name).size() > known; }));
  world->settle();
  ASSERT_EQ(world->events(name).size(), known + 1);
  EXPECT_EQ(world->events(name).back(), event);
}

TEST_P(FlutterEventContract, PassesOnWhoListensAndWhoCancels) {
  channel->setStreamHandler(handler);
  EXPECT_EQ(listen("wide"), success);
  EXPECT_EQ(handler->calls, Calls{"listen wide"});
  EXPECT_EQ(cancel("enough"), success);
  EXPECT_EQ(handler->calls, (Calls{"listen wide", "cancel enough"}));
  EXPECT_EQ(listen(), success);
  EXPECT_EQ(cancel(), success);
  EXPECT_EQ(handler->calls, (Calls{"listen wide", "cancel enough", "listen", "cancel"}));
}

TEST_P(FlutterEventContract, BringsEventsAsTheyAre) {
  channel->setStreamHandler(handler);
  listen();
  sendAndExpect(Value(Data(Bytes{0xFF, 0xD8, 0, 1, 0xFF, 0xD9})));
  sendAndExpect(Value(Data()));
  sendAndExpect(Value(Data(Bytes(300'000, 0xAB))));
  sendAndExpect(Value());
  sendAndExpect(Value(Map{{"text", "Büro"}}));
}

TEST_P(FlutterEventContract, BringsErrorsBetweenEvents) {
  channel->setStreamHandler(handler);
  listen();
  sendAndExpect(Value(1));
  sendAndExpect(FlutterError{"gone", "The stream ended.", Map{{"why", List{1, 2}}}});
  sendAndExpect(FlutterError{"gone", {}, {}});
  sendAndExpect(Value(2));
}

TEST_P(FlutterEventContract, BringsEventsThatAreSentDuringListen) {
  handler->sendsInListen = true;
  channel->setStreamHandler(handler);
  EXPECT_EQ(listen(), success);
  EXPECT_EQ(world->events(name), Events{Value("first")});
}

TEST_P(FlutterEventContract, CancelsTheFormerListenerBeforeAnother) {
  channel->setStreamHandler(handler);
  handler->cancelError = FlutterError{"ignored", {}, {}};
  EXPECT_EQ(listen("a"), success);
  EXPECT_EQ(listen("b"), success);
  EXPECT_EQ(handler->calls, (Calls{"listen a", "cancel", "listen b"}));
  sendAndExpect(Value("new"));
}

TEST_P(FlutterEventContract, RefusesToCancelWhatNobodyListensTo) {
  channel->setStreamHandler(handler);
  EXPECT_EQ(cancel(), nothingToCancel);
  EXPECT_EQ(handler->calls, Calls{});
  listen();
  cancel();
  EXPECT_EQ(cancel(), nothingToCancel);
  EXPECT_EQ(handler->calls, (Calls{"listen", "cancel"}));
}

TEST_P(FlutterEventContract, AnswersWithTheErrorsOfListenAndCancelAndCountsAsListening) {
  channel->setStreamHandler(handler);
  handler->listenError = FlutterError{"deaf", "No.", 7};
  handler->cancelError = FlutterError{"stuck", {}, {}};
  EXPECT_EQ(listen(), UiReply(*handler->listenError));
  EXPECT_EQ(cancel(), UiReply(*handler->cancelError));
  EXPECT_EQ(cancel(), nothingToCancel);
  EXPECT_EQ(handler->calls, (Calls{"listen", "cancel"}));
}

TEST_P(FlutterEventContract, GivesTheNullReplyWhenThereIsNoHandler) {
  EXPECT_EQ(listen(), UiReply(NullReply()));
  EXPECT_EQ(cancel(), UiReply(NullReply()));
}

TEST_P(FlutterEventContract, RemovesAHandlerWithoutCancelling) {
  channel->setStreamHandler(handler);
  listen();
  channel->setStreamHandler(nullptr);
  EXPECT_EQ(cancel(), UiReply(NullReply()));
  EXPECT_EQ(handler->calls, Calls{"listen"});
  handler->sinks.clear();
  EXPECT_TRUE(runUntil([&] { return handler.use_count() == 1; }));
}

TEST_P(FlutterEventContract, BeginsAnewWithAnotherHandler) {
  channel->setStreamHandler(handler);
  listen();
  const auto next = std::make_shared<RecordingStreamHandler>();
  channel->setStreamHandler(next);
  EXPECT_EQ(cancel(), nothingToCancel);
  EXPECT_EQ(listen("next"), success);
  EXPECT_EQ(handler->calls, Calls{"listen"});
  EXPECT_EQ(next->calls, Calls{"listen next"});
}

TEST_P(FlutterEventContract, KeepsTheHandlerOfAChannelThatIsGone) {
  channel->setStreamHandler(handler);
  channel.reset();
  EXPECT_EQ(listen(), success);
  sendAndExpect(Value("still here"));
}

TEST_P(FlutterTextContract, BringsTextsAsTheyAreAndInOrder) {
  const std::vector<std::string> texts{"AppLifecycleState.resumed", "", "Büro \U0001F600",
                                       std::string(3000, 'x')};
  for (const auto& text : texts) channel->sendMessage(text);
  ASSERT_TRUE(runUntil([&] { return world->texts(name).size() >= texts.size(); }));
  world->settle();
  EXPECT_EQ(world->texts(name), texts);
  EXPECT_TRUE(world->texts("contract/other").empty());
}

}  // namespace quorvin::contract
