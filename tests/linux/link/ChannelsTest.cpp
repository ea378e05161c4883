#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#include "platform/linux/link/Flutter.h"
#include "tests/linux/link/LinkPeer.h"
#include "tests/linux/link/TestLoop.h"

namespace quorvin {
namespace {

constexpr auto methods = "test/methods";
constexpr auto events = "test/events";
constexpr auto texts = "test/texts";

// Notes what the channel asks of it.
class RecordingStream final : public FlutterStreamHandler {
 public:
  std::optional<FlutterError> onListen(const Value& arguments, FlutterEventSink sink) override {
    record("listen", arguments);
    sinks.push_back(std::move(sink));
    return std::nullopt;
  }

  std::optional<FlutterError> onCancel(const Value& arguments) override {
    record("cancel", arguments);
    return cancelError;
  }

  std::vector<std::string> calls;
  std::vector<FlutterEventSink> sinks;
  std::optional<FlutterError> cancelError;

 private:
  void record(const std::string& call, const Value& arguments) {
    const auto* text = arguments.as<std::string>();
    calls.push_back(text == nullptr ? call : call + " " + *text);
  }
};

class ChannelsTest : public testing::Test {
 protected:
  ChannelsTest() {
    controller.runEngine(loop.context(), peer.takeHostsEnd(), [this] {
      ++closings;
      if (onClosed) onClosed();
    });
  }

 public:
  ~ChannelsTest() override { controller.shutDownEngine(); }

 protected:
  void listenWith(const std::shared_ptr<RecordingStream>& stream) {
    eventChannel->setStreamHandler(stream);
  }

  LinkFrame ask(const char* channel, Bytes payload) {
    const auto id = nextId++;
    const auto before = peer.frames.size();
    EXPECT_TRUE(peer.sendMessage(channel, id, std::move(payload)));
    EXPECT_TRUE(loop.runUntil([&] {
      peer.receive();
      return peer.frames.size() > before && peer.frames.back().id == id;
    })) << "no reply";
    return peer.frames.back();
  }

  LinkFrame call(const char* channel, const std::string& method, Value arguments = {}) {
    return ask(channel, encodeMethodCall({method, std::move(arguments)}));
  }

  // Events and stream errors received so far.
  std::vector<FlutterEvent> received() {
    loop.runUntilIdle();
    peer.receive();
    std::vector<FlutterEvent> all;
    for (const auto& frame : peer.frames) {
      if (frame.type == LinkFrameType::message)
        all.push_back(decodeEnvelope(frame.payload.bytes()));
    }
    return all;
  }

  // What the text channel has brought by the time of the reply to a call.
  std::vector<std::string> receivedTexts() {
    call(methods, "anything");
    std::vector<std::string> all;
    for (const auto& frame : peer.frames) {
      const auto bytes = frame.payload.bytes();
      if (frame.channel == texts) all.emplace_back(bytes.begin(), bytes.end());
    }
    return all;
  }

  static void expectSuccess(const LinkFrame& reply, const Value& value) {
    ASSERT_EQ(reply.type, LinkFrameType::reply);
    EXPECT_EQ(decodeEnvelope(reply.payload.bytes()), FlutterEvent(value));
  }

  TestLoop loop;
  LinkPeer peer;
  LinuxFlutterViewController controller;
  LinuxFlutter flutter;
  std::unique_ptr<FlutterMethodChannel> methodChannel =
      flutter.makeMethodChannel(methods, controller.binaryMessenger());
  std::unique_ptr<FlutterEventChannel> eventChannel =
      flutter.makeEventChannel(events, controller.binaryMessenger());
  std::unique_ptr<FlutterBasicMessageChannel> textChannel =
      flutter.makeBasicMessageChannel(texts, controller.binaryMessenger());
  std::function<void()> onClosed;
  int closings = 0;
  std::uint32_t nextId = 1;
};

using Calls = std::vector<std::string>;
using Texts = std::vector<std::string>;
using Events = std::vector<FlutterEvent>;

TEST_F(ChannelsTest, AnswerPayloadsTheyCannotDecodeLikeUnknownMethods) {
  int calls = 0;
  methodChannel->setMethodCallHandler(
      [&](const FlutterMethodCall&, const FlutterResult&) { ++calls; });
  listenWith(std::make_shared<RecordingStream>());
  for (const auto& payload : {Bytes{}, Bytes{99}, Bytes{7, 200, 'x'}, Bytes{3, 1, 0, 0, 0, 0}}) {
    EXPECT_EQ(ask(methods, payload).type, LinkFrameType::emptyReply);
    EXPECT_EQ(ask(events, payload).type, LinkFrameType::emptyReply);
  }
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(closings, 0);
}

TEST_F(ChannelsTest, HandleACallThatWantsNoReply) {
  int calls = 0;
  methodChannel->setMethodCallHandler([&](const FlutterMethodCall&, const FlutterResult& result) {
    ++calls;
    result(Value());
  });
  ASSERT_TRUE(peer.sendMessage(methods, 0, encodeMethodCall({"work", {}})));
  EXPECT_TRUE(loop.runUntil([&] { return calls == 1; }));
  loop.runUntilIdle();
  peer.receive();
  EXPECT_TRUE(peer.frames.empty());
}

TEST_F(ChannelsTest, TakeAnswersLaterAndInAnyOrderButEachOnce) {
  std::vector<FlutterResult> pending;
  methodChannel->setMethodCallHandler([&](const FlutterMethodCall&, FlutterResult result) {
    pending.push_back(std::move(result));
  });
  for (const std::uint32_t id : {11U, 12U, 13U}) {
    ASSERT_TRUE(peer.sendMessage(methods, id, encodeMethodCall({"work", {}})));
  }
  ASSERT_TRUE(loop.runUntil([&] { return pending.size() == 3; }));
  const auto second = pending[1];
  pending[2](Value(13));
  second(Value(12));
  pending[0](Value(11));
  pending[1](Value("again"));
  ASSERT_TRUE(loop.runUntil([&] {
    peer.receive();
    return peer.frames.size() == 3;
  }));
  expectSuccess(peer.frames[0], Value(13));
  expectSuccess(peer.frames[1], Value(12));
  expectSuccess(peer.frames[2], Value(11));
  loop.runUntilIdle();
  peer.receive();
  EXPECT_EQ(peer.frames.size(), 3U);
}

TEST_F(ChannelsTest, DoNotGiveALateSecondAnswerToAnotherCall) {
  std::vector<FlutterResult> pending;
  methodChannel->setMethodCallHandler([&](const FlutterMethodCall&, FlutterResult result) {
    pending.push_back(std::move(result));
  });
  const auto sendCall = [&] {
    const auto before = pending.size();
    EXPECT_TRUE(peer.sendMessage(methods, 5, encodeMethodCall({"work", {}})));
    EXPECT_TRUE(loop.runUntil([&] { return pending.size() > before; }));
  };
  sendCall();
  pending[0](Value("first"));
  sendCall();
  pending[0](Value("first again"));
  pending[1](Value("second"));
  loop.runUntilIdle();
  peer.receive();
  ASSERT_EQ(peer.frames.size(), 2U);
  expectSuccess(peer.frames[1], Value("second"));
}

TEST_F(ChannelsTest, GiveTheNullReplyForAnAnswerTheCodecCannotSay) {
  methodChannel->setMethodCallHandler([](const FlutterMethodCall&, const FlutterResult& result) {
    result(Value("\xC3 is not UTF-8"));
  });
  EXPECT_EQ(call(methods, "work").type, LinkFrameType::emptyReply);
}

TEST_F(ChannelsTest, IgnoreAnswersAfterTheLinkClosed) {
  FlutterResult pending;
  methodChannel->setMethodCallHandler(
      [&](const FlutterMethodCall&, FlutterResult result) { pending = std::move(result); });
  ASSERT_TRUE(peer.sendMessage(methods, 5, encodeMethodCall({"work", {}})));
  ASSERT_TRUE(loop.runUntil([&] { return static_cast<bool>(pending); }));
  peer.close();
  ASSERT_TRUE(loop.runUntil([&] { return closings == 1; }));
  pending(Value(1));
  loop.runUntilIdle();
  EXPECT_EQ(closings, 1);
}

TEST_F(ChannelsTest, LeaveAnotherChannelsHandlerInItsPlace) {
  const auto other = flutter.makeMethodChannel(methods, controller.binaryMessenger());
  const auto answering = [](const char* text) {
    return [text](const FlutterMethodCall&, const FlutterResult& result) {
      result(Value(text));
    };
  };
  methodChannel->setMethodCallHandler(answering("old"));
  other->setMethodCallHandler(answering("new"));
  methodChannel->setMethodCallHandler({});
  expectSuccess(call(methods, "work"), Value("new"));
}

TEST_F(ChannelsTest, CancelTheFormerListenerBeforeAnotherListen) {
  const auto stream = std::make_shared<RecordingStream>();
  stream->cancelError = FlutterError{"ignored", {}, {}};
  listenWith(stream);
  call(events, "listen", "a");
  expectSuccess(call(events, "listen", "b"), Value());
  EXPECT_EQ(stream->calls, (Calls{"listen a", "cancel", "listen b"}));
  stream->sinks[0](Value("old"));
  stream->sinks[1](Value("new"));
  EXPECT_EQ(received(), Events{Value("new")});
}

TEST_F(ChannelsTest, GiveTheNullReplyToUnknownMethodsOfAnEventChannel) {
  listenWith(std::make_shared<RecordingStream>());
  EXPECT_EQ(call(events, "pause").type, LinkFrameType::emptyReply);
}

TEST_F(ChannelsTest, SendNothingAfterCancel) {
  const auto stream = std::make_shared<RecordingStream>();
  listenWith(stream);
  call(events, "listen");
  call(events, "cancel");
  stream->sinks[0](Value(1));
  EXPECT_TRUE(received().empty());
}

TEST_F(ChannelsTest, ForgetAWaitingEventWhenItsListenerCancels) {
  const auto stream = std::make_shared<RecordingStream>();
  listenWith(stream);
  call(events, "listen");
  const Value large(Data(Bytes(std::size_t{4} * 1024 * 1024, 1)));
  stream->sinks[0](large);
  stream->sinks[0](Value("stale"));
  call(events, "cancel");
  EXPECT_EQ(received(), Events{large});
}

TEST_F(ChannelsTest, RemoveAStreamHandlerWithoutCancelling) {
  const auto stream = std::make_shared<RecordingStream>();
  listenWith(stream);
  call(events, "listen");
  eventChannel->setStreamHandler(nullptr);
  EXPECT_EQ(call(events, "cancel").type, LinkFrameType::emptyReply);
  EXPECT_EQ(stream->calls, Calls{"listen"});
  stream->sinks[0](Value(1));
  EXPECT_TRUE(received().empty());
  EXPECT_EQ(stream.use_count(), 1);
}

TEST_F(ChannelsTest, SendTextAsPlainBytesThatWantNoReply) {
  textChannel->sendMessage("na\xC3\xAFve");
  ASSERT_EQ(receivedTexts(), Texts{"na\xC3\xAFve"});
  EXPECT_EQ(peer.frames[0].type, LinkFrameType::message);
  EXPECT_EQ(peer.frames[0].id, 0U);
}

TEST_F(ChannelsTest, SendEveryTextInOrderBehindALargeEvent) {
  const auto stream = std::make_shared<RecordingStream>();
  listenWith(stream);
  call(events, "listen");
  const Value large(Data(Bytes(std::size_t{4} * 1024 * 1024, 1)));
  stream->sinks[0](large);
  for (const auto* text : {"one", "two", "two", "", "three"}) textChannel->sendMessage(text);
  EXPECT_TRUE(peer.frames.size() == 1 && peer.frames[0].type == LinkFrameType::reply);
  EXPECT_EQ(receivedTexts(), (Texts{"one", "two", "two", "", "three"}));
}

TEST_F(ChannelsTest, DropTextThatIsNotUtf8OrTooLong) {
  for (const auto* text : {"\xFF", "cut \xE2\x82", "overlong \xC0\xAF", "surrogate \xED\xA0\x80"}) {
    textChannel->sendMessage(text);
  }
  textChannel->sendMessage(std::string(linkFrameLengthMax, 'x'));
  textChannel->sendMessage("fine");
  EXPECT_EQ(receivedTexts(), Texts{"fine"});
  EXPECT_EQ(closings, 0);
}

TEST_F(ChannelsTest, SendNoTextWithoutALink) {
  LinuxFlutterViewController idle;
  flutter.makeBasicMessageChannel(texts, idle.binaryMessenger())->sendMessage("nobody hears");
  peer.close();
  ASSERT_TRUE(loop.runUntil([&] { return closings == 1; }));
  textChannel->sendMessage("too late");
  loop.runUntilIdle();
}

TEST_F(ChannelsTest, TakeNoMessagesOnATextChannel) {
  EXPECT_EQ(ask(texts, {'h', 'i'}).type, LinkFrameType::emptyReply);
}

TEST_F(ChannelsTest, CancelListenersBeforeTellingThatTheLinkClosed) {
  const auto stream = std::make_shared<RecordingStream>();
  Calls atClose;
  onClosed = [&] {
    atClose = stream->calls;
  };
  listenWith(stream);
  call(events, "listen");
  peer.close();
  ASSERT_TRUE(loop.runUntil([&] { return closings == 1; }));
  EXPECT_EQ(atClose, (Calls{"listen", "cancel"}));
  stream->sinks[0](Value(1));
}

TEST_F(ChannelsTest, CancelListenersAndForgetHandlersWhenShutDown) {
  const auto stream = std::make_shared<RecordingStream>();
  auto held = std::make_shared<int>(1);
  methodChannel->setMethodCallHandler(
      [held](const FlutterMethodCall&, const FlutterResult& result) { result(Value(*held)); });
  listenWith(stream);
  call(events, "listen");
  controller.shutDownEngine();
  EXPECT_EQ(stream->calls, (Calls{"listen", "cancel"}));
  EXPECT_EQ(stream.use_count(), 1);
  EXPECT_EQ(held.use_count(), 1);
  peer.receive();
  EXPECT_TRUE(peer.sawClose());
  loop.runUntilIdle();
  EXPECT_EQ(closings, 0);
}

TEST_F(ChannelsTest, LetSinksAndAnswersOutliveTheMessenger) {
  FlutterEventSink sink;
  FlutterResult result;
  {
    TestLoop ownLoop;
    LinkPeer ownPeer;
    LinuxFlutterViewController owner;
    const auto stream = std::make_shared<RecordingStream>();
    flutter.makeEventChannel(events, owner.binaryMessenger())->setStreamHandler(stream);
    flutter.makeMethodChannel(methods, owner.binaryMessenger())
        ->setMethodCallHandler(
            [&](const FlutterMethodCall&, FlutterResult given) { result = std::move(given); });
    owner.runEngine(ownLoop.context(), ownPeer.takeHostsEnd(), [] {});
    ASSERT_TRUE(ownPeer.sendMessage(events, 1, encodeMethodCall({"listen", {}})));
    ASSERT_TRUE(ownPeer.sendMessage(methods, 2, encodeMethodCall({"work", {}})));
    ASSERT_TRUE(ownLoop.runUntil([&] { return static_cast<bool>(result); }));
    sink = stream->sinks[0];
  }
  sink(Value(1));
  sink(FlutterError{"code", {}, {}});
  result(Value(1));
}

TEST_F(ChannelsTest, TakeHandlersBeforeTheEngineRuns) {
  LinkPeer latePeer;
  LinuxFlutterViewController late;
  flutter.makeMethodChannel(methods, late.binaryMessenger())
      ->setMethodCallHandler(
          [](const FlutterMethodCall&, const FlutterResult& result) { result(Value(1)); });
  ASSERT_TRUE(latePeer.sendMessage(methods, 1, encodeMethodCall({"work", {}})));
  late.runEngine(loop.context(), latePeer.takeHostsEnd(), [] {});
  EXPECT_TRUE(loop.runUntil([&] {
    latePeer.receive();
    return latePeer.frames.size() == 1;
  }));
  late.shutDownEngine();
}

}  // namespace
}  // namespace quorvin
