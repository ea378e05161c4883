#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/contract/FlutterContract.h"
#include "tests/contract/OnRelease.h"
#include "tests/contract/SameValue.h"

namespace quorvin::contract {
namespace {

using Strings = std::vector<std::string>;

// A value of every type and of every kind that is easily got wrong.
std::vector<Value> valuesOfAllKinds() {
  using Limits = std::numeric_limits<std::int64_t>;
  std::vector<Value> values{Value(), true, false};
  for (const std::int64_t number :
       {std::int64_t{0}, std::int64_t{1}, std::int64_t{-1}, std::int64_t{127}, std::int64_t{-129},
        std::int64_t{2'147'483'647}, std::int64_t{2'147'483'648}, std::int64_t{-2'147'483'648},
        std::int64_t{-2'147'483'649}, std::int64_t{9'007'199'254'740'993}, Limits::min(),
        Limits::max()}) {
    values.emplace_back(number);
  }
  using Doubles = std::numeric_limits<double>;
  for (const double number : {0.0, -0.0, 1.0, -2.0, 0.1, 1e300, Doubles::denorm_min(),
                              Doubles::infinity(), -Doubles::infinity(), Doubles::quiet_NaN()}) {
    values.emplace_back(number);
  }
  for (const std::string& text :
       {std::string(), std::string("plain"), std::string("Büro \U0001F600 한글"),
        std::string("a\0b", 3), std::string("e\u0301\r\n"), std::string(253, 'x'),
        std::string(254, 'x'), std::string(70'000, 'y')}) {
    values.emplace_back(text);
  }
  values.emplace_back(Data());
  values.emplace_back(Data(Bytes{0, 1, 255}));
  values.emplace_back(Data(Bytes(100'000, 0xFF)));
  values.emplace_back(std::vector<std::int32_t>{});
  values.emplace_back(std::vector<std::int32_t>{1, -2, 2'147'483'647});
  values.emplace_back(std::vector<std::int64_t>{});
  values.emplace_back(std::vector<std::int64_t>{Limits::min(), 0, Limits::max()});
  values.emplace_back(std::vector<float>{});
  values.emplace_back(std::vector<float>{0.5F, -1.25F});
  values.emplace_back(std::vector<double>{});
  values.emplace_back(std::vector<double>{0.1, -1e300, Doubles::quiet_NaN()});
  values.emplace_back(List{});
  values.emplace_back(List{Value(), true, 1, 1.0, "1", List{List{}, Map{}}, Data(Bytes{7})});
  values.emplace_back(List(300, Value(7)));
  values.emplace_back(Map{});
  values.emplace_back(Map{{"null", Value()}, {"one", 1}, {"true", true}, {"real", 1.0}});
  values.emplace_back(Map{{"inner", Map{{"list", List{1, Map{{"deep", "down"}}}}}}, {"", "empty"}});
  values.emplace_back(Map{{7, "integer"}, {-0.5, "real"}, {Value(), "null"}, {"7", "text"}});
  return values;
}

// A list of lists, so many deep.
Value nested(int depth) {
  Value value("innermost");
  for (int level = 0; level < depth; ++level) value = List{std::move(value)};
  return value;
}

FlutterMethodCallHandler answering(const Value& value) {
  return [value](const FlutterMethodCall&, const FlutterResult& result) {
    result(value);
  };
}

}  // namespace

TEST_P(FlutterMethodContract, BringsAValueOfEveryKindThereAndBack) {
  const Record<Value> seen;
  channel->setMethodCallHandler([=](const FlutterMethodCall& call, const FlutterResult& result) {
    seen.add(call.arguments);
    result(call.arguments);
  });
  for (const auto& value : valuesOfAllKinds()) {
    const auto reply = call("echo", value);
    EXPECT_TRUE(isSameValue(seen.all().back(), value))
        << "value of type " << value.variant().index();
    ASSERT_TRUE(std::holds_alternative<Value>(reply));
    EXPECT_TRUE(isSameValue(std::get<Value>(reply), value))
        << "value of type " << value.variant().index();
  }
}

TEST_P(FlutterMethodContract, BringsDeeplyNestedValues) {
  channel->setMethodCallHandler(
      [](const FlutterMethodCall& call, const FlutterResult& result) { result(call.arguments); });
  const auto value = nested(50);
  EXPECT_EQ(call("echo", value), UiReply(value));
}

TEST_P(FlutterMethodContract, BringsTheNameOfTheMethod) {
  const Record<std::string> seen;
  channel->setMethodCallHandler([=](const FlutterMethodCall& call, const FlutterResult& result) {
    seen.add(call.method);
    result(Value());
  });
  const Strings methods{"work", "", "Büro \U0001F600"};
  for (const auto& method : methods) EXPECT_EQ(call(method), UiReply(Value()));
  EXPECT_EQ(seen.all(), methods);
}

TEST_P(FlutterMethodContract, BringsErrorsWithAllTheirParts) {
  for (const auto& error :
       {FlutterError{"code", "Message.", Map{{"why", List{1, 2}}}}, FlutterError{"code", {}, {}},
        FlutterError{"", "", "Büro"}, FlutterError{"a\U0001F600", "Line\nline", 7}}) {
    channel->setMethodCallHandler(
        [=](const FlutterMethodCall&, const FlutterResult& result) { result(error); });
    EXPECT_EQ(call("fail"), UiReply(error));
  }
}

TEST_P(FlutterMethodContract, GivesTheNullReplyForWhatIsNotImplemented) {
  channel->setMethodCallHandler([](const FlutterMethodCall&, const FlutterResult& result) {
    result(FlutterMethodNotImplemented());
  });
  EXPECT_EQ(call("unknown"), UiReply(NullReply()));
}

TEST_P(FlutterMethodContract, GivesTheNullReplyWhenNobodyHandlesTheChannel) {
  EXPECT_EQ(call("work"), UiReply(NullReply()));
  channel->setMethodCallHandler(answering("here"));
  EXPECT_EQ(replyTo(world->call("contract/other", "work", {})), UiReply(NullReply()));
}

TEST_P(FlutterMethodContract, CallsTheNewHandlerAfterAReplacement) {
  const Record<int> released;
  auto held = onRelease([=] { released.add(1); });
  channel->setMethodCallHandler(
      [held = std::move(held)](const FlutterMethodCall&, const FlutterResult& result) {
        result("old");
      });
  EXPECT_EQ(call("work"), UiReply(Value("old")));
  channel->setMethodCallHandler(answering("new"));
  EXPECT_EQ(call("work"), UiReply(Value("new")));
  EXPECT_TRUE(runUntil([&] { return released.size() == 1; }));
}

TEST_P(FlutterMethodContract, ForgetsAHandlerThatIsRemoved) {
  const Record<int> released;
  auto held = onRelease([=] { released.add(1); });
  channel->setMethodCallHandler(
      [held = std::move(held)](const FlutterMethodCall&, const FlutterResult& result) {
        result(Value());
      });
  EXPECT_EQ(call("work"), UiReply(Value()));
  channel->setMethodCallHandler({});
  EXPECT_EQ(call("work"), UiReply(NullReply()));
  EXPECT_TRUE(runUntil([&] { return released.size() == 1; }));
}

TEST_P(FlutterMethodContract, DoesNothingWhenThereIsNoHandlerToRemove) {
  channel->setMethodCallHandler({});
  EXPECT_EQ(call("work"), UiReply(NullReply()));
  channel->setMethodCallHandler(answering("here"));
  EXPECT_EQ(call("work"), UiReply(Value("here")));
  channel->setMethodCallHandler({});
  channel->setMethodCallHandler({});
  EXPECT_EQ(call("work"), UiReply(NullReply()));
}

TEST_P(FlutterMethodContract, KeepsTheHandlerOfAChannelThatIsGone) {
  channel->setMethodCallHandler(answering("still here"));
  channel.reset();
  EXPECT_EQ(call("work"), UiReply(Value("still here")));
}

TEST_P(FlutterMethodContract, LetsAHandlerRemoveItself) {
  channel->setMethodCallHandler([kept = std::string("kept"), own = channel.get()](
                                    const FlutterMethodCall&, const FlutterResult& result) {
    own->setMethodCallHandler({});
    result(Value(kept));
  });
  EXPECT_EQ(call("work"), UiReply(Value("kept")));
  EXPECT_EQ(call("work"), UiReply(NullReply()));
}

TEST_P(FlutterMethodContract, TakesAnswersLaterAndInAnyOrder) {
  const Record<FlutterResult> pending;
  channel->setMethodCallHandler(
      [=](const FlutterMethodCall&, FlutterResult result) { pending.add(std::move(result)); });
  const auto first = world->call(name, "work", 1);
  const auto second = world->call(name, "work", 2);
  ASSERT_TRUE(runUntil([&] { return pending.size() == 2; }));
  world->settle();
  EXPECT_EQ(first.size() + second.size(), 0U);
  pending.all()[1](Value("second"));
  EXPECT_EQ(replyTo(second), UiReply(Value("second")));
  EXPECT_EQ(first.size(), 0U);
  pending.all()[0](Value("first"));
  EXPECT_EQ(replyTo(first), UiReply(Value("first")));
}

TEST_P(FlutterMethodContract, TakesAnAnswerAfterTheHandlerIsGone) {
  const Record<FlutterResult> pending;
  channel->setMethodCallHandler(
      [=](const FlutterMethodCall&, FlutterResult result) { pending.add(std::move(result)); });
  const auto reply = world->call(name, "work", {});
  ASSERT_TRUE(runUntil([&] { return pending.size() == 1; }));
  channel->setMethodCallHandler({});
  channel.reset();
  pending.all()[0](Value("late"));
  EXPECT_EQ(replyTo(reply), UiReply(Value("late")));
}

TEST_P(FlutterMethodContract, KeepsChannelsApart) {
  const auto other = world->flutter().makeMethodChannel("contract/other", world->messenger());
  channel->setMethodCallHandler(answering("this"));
  other->setMethodCallHandler(answering("other"));
  EXPECT_EQ(call("work"), UiReply(Value("this")));
  EXPECT_EQ(replyTo(world->call("contract/other", "work", {})), UiReply(Value("other")));
}

}  // namespace quorvin::contract
