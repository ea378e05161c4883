#include <gtest/gtest.h>

#include <map>
#include <string>

#include "webui/PageMessage.h"

namespace quorvin::webui {
namespace {

template <typename T>
T parsedAs(std::string_view text) {
  const auto message = parsePageMessage(text);
  EXPECT_TRUE(std::holds_alternative<T>(message)) << text;
  return std::holds_alternative<T>(message) ? std::get<T>(message) : T{};
}

TEST(PageMessage, PassesOnTheNineMethodsOfTheHostAndNoOther) {
  for (const auto* method :
       {"capabilities", "permissions", "requestPermissions", "startCapture", "stopCapture",
        "releaseInput", "createDesktopShortcut", "configureStream", "injectInput"}) {
    EXPECT_TRUE(isCallableMethod(method)) << method;
  }
  for (const auto* method : {"", "listen", "cancel", "Capabilities", "startCapture ", "exit"}) {
    EXPECT_FALSE(isCallableMethod(method)) << method;
  }
  const auto error = parsedAs<PageProtocolError>(R"({"id":3,"method":"listen"})");
  EXPECT_EQ(error.id, 3);
}

TEST(PageMessage, CallCarriesItsArguments) {
  const auto call = parsedAs<PageCall>(
      R"({"id":12,"method":"startCapture","arguments":{"locallyAuthorized":true}})");
  EXPECT_EQ(call.id, 12);
  EXPECT_EQ(call.call.method, "startCapture");
  EXPECT_EQ(call.call.arguments, Value(Map{{"locallyAuthorized", true}}));
}

TEST(PageMessage, CallWithoutArgumentsHasNullOnes) {
  EXPECT_TRUE(parsedAs<PageCall>(R"({"id":1,"method":"permissions"})").call.arguments.isNull());
}

TEST(PageMessage, CallNeedsAnIntegerId) {
  for (const auto* id : {"null", "1.5", "\"1\"", "[]", "18446744073709551615"}) {
    const auto text = std::string(R"({"method":"permissions","id":)") + id + "}";
    EXPECT_FALSE(parsedAs<PageProtocolError>(text).id) << text;
  }
  parsedAs<PageProtocolError>(R"({"method":"permissions"})");
}

TEST(PageMessage, ReadsAcknowledgementsAndWhatIsShown) {
  EXPECT_EQ(parsedAs<PageAcknowledgement>(R"({"ack":2})").count, 2);
  (void)parsedAs<PageWholeFrame>(R"({"whole":true})");
  const auto visibility = parsedAs<PageVisibility>(R"({"show":{"customer":true,"picture":false}})");
  EXPECT_TRUE(visibility.customer);
  EXPECT_FALSE(visibility.picture);
  EXPECT_FALSE(visibility.input);
  EXPECT_FALSE(parsedAs<PageVisibility>(R"({"show":{"customer":1}})").customer);
  EXPECT_TRUE(parsedAs<PageVisibility>(R"({"show":{"input":true}})").input);
  EXPECT_FALSE(parsedAs<PageVisibility>(R"({"show":{"input":"true"}})").input);
}

TEST(PageMessage, ReadsWhetherControlIsAllowed) {
  EXPECT_TRUE(parsedAs<PageControl>(R"({"control":true})").allowed);
  EXPECT_FALSE(parsedAs<PageControl>(R"({"control":false})").allowed);
}

TEST(PageMessage, ReadsWhatIsSaidOfSupportersOnOtherComputers) {
  using What = RemoteMessage::What;
  using Answer = Invitation::Answer;
  const std::map<std::string_view, RemoteMessage> said{
      {R"({"invite":true})", {What::invite}},
      {R"({"stopAll":true})", {What::stopAll}},
      {R"({"log":true})", {What::log}},
      {R"({"front":true})", {.what = What::front, .is = true}},
      {R"({"front":false})", {What::front}},
      {R"({"remote":7,"answer":"watch"})", {What::answer, 7, Answer::watch}},
      {R"({"remote":7,"answer":"control"})", {What::answer, 7, Answer::control}},
      {R"({"remote":7,"answer":"refuse"})", {What::answer, 7, Answer::refuse}},
      {R"({"remote":7,"signal":{"candidate":null}})",
       {.what = What::signal, .remote = 7, .text = R"({"candidate":null})"}},
      {R"({"remote":7,"path":"relayed"})", {.what = What::path, .remote = 7, .text = "relayed"}},
      {R"({"remote":4294967295,"lost":true})", {What::lost, 4294967295}},
      {R"({"remote":7,"control":true})", {.what = What::control, .remote = 7, .is = true}},
      {R"({"remote":7,"end":true})", {What::end, 7}}};
  for (const auto& [text, message] : said)
    EXPECT_EQ(parsedAs<RemoteMessage>(text), message) << text;
}

TEST(PageMessage, WhatCannotBeSaidOfASupporterIsSaidOfNobody) {
  for (const auto* rest : {R"("control":1)", R"("answer":"yes")", R"("answer":true)",
                           R"("signal":{"candidate":[1]})", R"("path":"short")", R"("lost":false)",
                           R"("end":1)", R"("ack":1)", R"("whole":true)", R"("show":{})"}) {
    parsedAs<PageProtocolError>(R"({"remote":7,)" + std::string(rest) + "}");
  }
  for (const auto* id : {"null", "-1", "4294967296", "7.0", "\"7\"", "true"}) {
    const auto remote = R"({"remote":)" + std::string(id);
    parsedAs<PageProtocolError>(remote + R"(,"control":true})");
    parsedAs<PageProtocolError>(remote + R"(,"answer":"control"})");
  }
}

TEST(PageMessage, RefusesEverythingElse) {
  for (const auto* text :
       {"", "null", "[]", "{}", "7", "{\"ack\":0}", "{\"ack\":-1}", "{\"ack\":1.0}",
        "{\"control\":1}", "{\"ack\":9223372036854775807}", "{\"show\":true}", "{\"invite\":1}",
        "{\"log\":false}", "{\"stopAll\":1}", "{\"front\":1}", "{\"id\":1,\"method\":7}",
        "{\"id\":1"}) {
    parsedAs<PageProtocolError>(text);
  }
}

TEST(PageMessage, WritesTheThreeKindsOfAnswers) {
  EXPECT_EQ(replyText(1, Value(true)), R"({"id":1,"result":true})");
  EXPECT_EQ(replyText(2, FlutterError{"bad_input", "Invalid input event.", {}}),
            R"({"error":{"code":"bad_input","details":null,"message":"Invalid input event."},)"
            R"("id":2})");
  EXPECT_EQ(replyText(3, FlutterMethodNotImplemented{}), R"({"id":3,"notImplemented":true})");
}

TEST(PageMessage, WritesStreamErrorsWithTheirDetails) {
  EXPECT_EQ(streamErrorText({"capture_stopped", std::nullopt, Map{{"code", -3821}}}),
            R"({"code":"capture_stopped","details":{"code":-3821},"event":"error",)"
            R"("message":null})");
}

TEST(PageMessage, WritesTheStateOfTheSession) {
  SessionTracker session;
  EXPECT_EQ(stateText(session, false, true),
            R"({"control":true,"error":null,"event":"state","input":false,"session":"idle",)"
            R"("settings":null})");
  EXPECT_EQ(stateText(session, true, false),
            R"({"control":false,"error":null,"event":"state","input":true,"session":"idle",)"
            R"("settings":null})");
}

}  // namespace
}  // namespace quorvin::webui
