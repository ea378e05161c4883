#include <gtest/gtest.h>

#include "webui/tests/trust/TestSupporter.h"
#include "webui/trust/Invitation.h"

namespace quorvin::webui {
namespace {

using std::chrono::milliseconds;
using Stage = Invitation::Stage;
using Answer = Invitation::Answer;

class InvitationTest : public testing::Test {
 protected:
  Invitation::Effects received(ByteView bytes) { return invitation.receive(bytes, now); }
  // The answer to a first message; what follows needs an offer.
  Bytes answerTo(TestSupporter& supporter) {
    const auto effects = received(supporter.join());
    return effects.send.empty() ? Bytes() : effects.send.back();
  }
  std::string declineOf(TestSupporter& supporter) {
    const auto answer = answerTo(supporter);
    return supporter.open(answer);
  }
  Invitation::Effects introduced(TestSupporter& supporter, const std::string& name = "Ann") {
    EXPECT_TRUE(supporter.accept(answerTo(supporter)));
    return received(supporter.hello(name));
  }
  // What the supporter gets to know of the one envelope that is sent.
  static std::string told(TestSupporter& supporter, const Invitation::Effects& effects) {
    return effects.send.size() == 1 ? supporter.open(effects.send[0]) : "not one";
  }
  std::string allowed(bool control) const {
    return std::string(R"({"type":"allowed","control":)") + (control ? "true" : "false") +
           R"(,"inbox":")" + base64Url(invitation.inbox()) + R"("})";
  }
  TestSupporter withCode() { return TestSupporter::withCode(invitation.code()); }
  TestSupporter withWrongCode() {
    auto digits = invitation.code();
    digits.back() = digits.back() == '0' ? '1' : '0';
    return TestSupporter::withCode(digits);
  }
  std::string tryWrongCode() {
    auto supporter = withWrongCode();
    return told(supporter, introduced(supporter));
  }
  // Uses them up.
  int triesLeft() {
    int tries = 0;
    for (; invitation.stage() == Stage::waiting; ++tries) (void)tryWrongCode();
    return tries;
  }
  TestSupporter connected() {
    auto supporter = withCode();
    (void)introduced(supporter);
    EXPECT_NE(told(supporter, invitation.answer(Answer::watch, now)), "");
    return supporter;
  }

  Invitation::Time start{}, now = start;
  Invitation invitation{systemRandom, start};
};

TEST_F(InvitationTest, HasACodeAndALink) {
  GivenBytes bytes(
      joined({Bytes(16, 0xFB), Bytes(32, 0xFF), Bytes{0, 0, 0, 1, 0x23, 0x45, 0x67, 0x89}}));
  const Invitation made(bytes, start);
  EXPECT_EQ(made.code(), "543 817 6884");  // 4886718345, the last digit first
  EXPECT_EQ(made.place(), "5438");
  EXPECT_EQ(made.link("https://place.example/"),
            "https://place.example/#1.-_v7-_v7-_v7-_v7-_v7-w."
            "__________________________________________8");
  EXPECT_NE(invitation.code(), Invitation(systemRandom, start).code());
}

TEST_F(InvitationTest, KeepsItsLinkWhenThereIsNoPlaceForACode) {
  auto byCode = withCode();
  auto byLink = TestSupporter::withLink(invitation.link("x"));
  invitation.withdrawCode();
  EXPECT_EQ(invitation.code() + invitation.place(), "");
  EXPECT_EQ(declineOf(byCode), "declined 6");
  EXPECT_TRUE(introduced(byLink).ask);
}

TEST_F(InvitationTest, OfADeviceWaitsHoweverLongAndWhateverIsTried) {
  Invitation::DeviceLink device;
  device.inbox.fill(7);
  systemRandom(device.secret.bytes());
  invitation = Invitation(systemRandom, device);
  EXPECT_EQ(invitation.code() + invitation.place(), "");
  EXPECT_EQ(invitation.inbox(), device.inbox);
  EXPECT_FALSE(invitation.deadline());
  now += std::chrono::years(1);
  for (int tried = 0; tried < 2 * Invitation::triesMax; ++tried) {
    TestSupporter wrong(Way::link, Bytes(32), "link");
    EXPECT_EQ(told(wrong, introduced(wrong)), "declined 2");
  }
  auto supporter = TestSupporter::withLink(invitation.link("x"));
  ASSERT_TRUE(introduced(supporter).ask);
  // The question to be answered is as for any other.
  EXPECT_EQ(invitation.deadline(), now + Invitation::questionFor);
  EXPECT_EQ(told(supporter, invitation.answer(Answer::control, now)), allowed(true));
}

TEST_F(InvitationTest, AsksByNameAndWithTheSameWords) {
  for (const bool byLink : {false, true}) {
    Invitation another(systemRandom, start);
    auto supporter = byLink ? TestSupporter::withLink(another.link("x"))
                            : TestSupporter::withCode(another.code());
    const auto offer = another.receive(supporter.join(), now);
    ASSERT_EQ(offer.send.size(), 1U);
    EXPECT_FALSE(offer.ask);
    ASSERT_TRUE(supporter.accept(offer.send[0]));
    EXPECT_EQ(supporter.transcript.sid, sidOf(another.inbox()));
    const auto asked = another.receive(supporter.hello(" Ann\n"), now);
    ASSERT_TRUE(asked.ask);
    EXPECT_EQ(asked.ask->name, "Ann");
    EXPECT_EQ(asked.ask->words, supporter.words());
    EXPECT_TRUE(asked.send.empty());
    EXPECT_EQ(another.stage(), Stage::asking);
    EXPECT_EQ(another.code() + another.link("x"), "");
  }
}

TEST_F(InvitationTest, TellsTheSupporterWhatItIsAllowed) {
  for (const auto answer : {Answer::watch, Answer::control, Answer::refuse}) {
    invitation = Invitation(systemRandom, start);
    const auto expected =
        answer == Answer::refuse ? R"({"type":"refused"})" : allowed(answer == Answer::control);
    auto supporter = withCode();
    (void)introduced(supporter);
    EXPECT_EQ(told(supporter, invitation.answer(answer, now)), expected);
    EXPECT_EQ(invitation.stage(), answer == Answer::refuse ? Stage::refused : Stage::connected);
    EXPECT_TRUE(invitation.answer(Answer::control, now).send.empty());
  }
}

TEST_F(InvitationTest, LetsNothingOutBeforeTheCustomerAllows) {
  EXPECT_FALSE(invitation.seal(bytesOf("candidate")));
  auto supporter = withCode();
  (void)introduced(supporter);
  EXPECT_FALSE(invitation.seal(bytesOf("candidate")));
  (void)invitation.answer(Answer::watch, now);
  EXPECT_TRUE(invitation.seal(bytesOf("candidate")));
  invitation.end();
  EXPECT_FALSE(invitation.seal(bytesOf("candidate")));
}

TEST_F(InvitationTest, CarriesWhatTheTwoSayToEachOther) {
  auto supporter = connected();
  EXPECT_EQ(supporter.open(invitation.seal(bytesOf("offer")).value()), "offer");
  EXPECT_EQ(textOf(received(supporter.seal("answer")).message.value()), "answer");
  EXPECT_FALSE(invitation.seal(Bytes(SealedChannel::messageBytesMax + 1)));
}

TEST_F(InvitationTest, IsVoidAfterThreeWrongCodes) {
  EXPECT_EQ(tryWrongCode(), "declined 2");
  EXPECT_EQ(tryWrongCode(), "declined 2");
  EXPECT_EQ(invitation.stage(), Stage::waiting);
  auto right = withCode();
  EXPECT_EQ(tryWrongCode(), "declined 4");
  EXPECT_EQ(invitation.stage(), Stage::tooManyTries);
  EXPECT_EQ(declineOf(right), "declined 4");
  EXPECT_EQ(invitation.code(), "");
}

TEST_F(InvitationTest, TakesTheRightCodeAfterTwoWrongOnes) {
  (void)tryWrongCode();
  (void)tryWrongCode();
  auto supporter = withCode();
  EXPECT_TRUE(introduced(supporter).ask);
}

TEST_F(InvitationTest, CountsALinkWithAnotherSecretToo) {
  auto link = invitation.link("x");
  link[link.rfind('.') + 1] = link[link.rfind('.') + 1] == 'A' ? 'B' : 'A';
  auto supporter = TestSupporter::withLink(link);
  EXPECT_EQ(told(supporter, introduced(supporter)), "declined 2");
  EXPECT_EQ(triesLeft(), 2);
}

TEST_F(InvitationTest, DoesNotTakeACodeForAnotherPlace) {
  auto digits = invitation.code();
  digits[0] = digits[0] == '0' ? '1' : '0';
  auto supporter = TestSupporter::withCode(digits);
  EXPECT_EQ(told(supporter, introduced(supporter)), "declined 2");
}

TEST_F(InvitationTest, CountsAHelloThatIsNone) {
  const auto declined = [this](const std::function<Bytes(TestSupporter&)>& hello) {
    invitation = Invitation(systemRandom, start);
    auto supporter = withCode();
    EXPECT_TRUE(supporter.accept(answerTo(supporter)));
    const auto effects = received(hello(supporter));
    return !effects.ask && told(supporter, effects) == "declined 2" && triesLeft() == 2;
  };
  EXPECT_TRUE(declined([](auto& supporter) { return supporter.seal("{}"); }));
  EXPECT_TRUE(declined([](auto& supporter) { return supporter.hello(std::string(65, 'x')); }));
  EXPECT_TRUE(declined([](auto& supporter) { return supporter.hello("\xE2\x80\xAE"); }));
  // Whose nonce is not the hash of what it opens: it could have been chosen for its words.
  EXPECT_TRUE(declined([](auto& supporter) {
    return supporter.seal(R"({"type":"hello","name":"Ann","opening":")" + std::string(43, 'A') +
                          "\"}");
  }));
  EXPECT_TRUE(declined([](auto& supporter) {
    auto cut = supporter.hello("Ann");
    cut.pop_back();
    return cut;
  }));
  EXPECT_TRUE(declined([](auto& supporter) {
    (void)supporter.channel->seal({});
    return supporter.hello("Ann");  // the second message
  }));
}

TEST_F(InvitationTest, DoesNotTakeItsOwnMessagesBack) {
  auto supporter = withCode();
  ASSERT_TRUE(supporter.accept(answerTo(supporter)));
  EXPECT_TRUE(received(supporter.hello("Ann")).ask);
  const auto verdict = invitation.answer(Answer::watch, now).send.at(0);
  EXPECT_FALSE(received(verdict).message);
  EXPECT_EQ(invitation.stage(), Stage::lost);
}

TEST_F(InvitationTest, RefusesSharesThatAreNoElementsWithoutCountingThem) {
  for (const auto filling : Bytes{0, 0xFF}) {
    auto supporter = withCode();
    auto join = supporter.join();
    std::ranges::fill(std::span(join).last(32), filling);
    EXPECT_EQ(told(supporter, received(join)), "declined 2");
  }
  EXPECT_EQ(triesLeft(), 3);
}

TEST_F(InvitationTest, IsValidForTenMinutesAndNotAMomentLonger) {
  EXPECT_EQ(invitation.deadline(), start + Invitation::validFor);
  now = start + Invitation::validFor - milliseconds(1);
  auto early = withCode(), late = withCode();
  ASSERT_TRUE(early.accept(answerTo(early)));
  now += milliseconds(1);
  const auto effects = received(early.hello("Ann"));
  EXPECT_FALSE(effects.ask);
  EXPECT_EQ(told(early, effects), "declined 3");
  EXPECT_EQ(invitation.stage(), Stage::expired);
  invitation.end();
  EXPECT_EQ(declineOf(late), "declined 3");
  EXPECT_FALSE(invitation.deadline());
}

TEST_F(InvitationTest, AsksUpToItsLastMomentAndWaitsForTheAnswer) {
  now = start + Invitation::validFor - milliseconds(1);
  auto supporter = withCode();
  ASSERT_TRUE(introduced(supporter).ask);
  EXPECT_EQ(invitation.deadline(), now + Invitation::questionFor);
  now += Invitation::questionFor - milliseconds(1);
  (void)invitation.answer(Answer::watch, now);
  EXPECT_EQ(invitation.stage(), Stage::connected);
  EXPECT_FALSE(invitation.deadline());
}

TEST_F(InvitationTest, TakesNoAnswerForARefusal) {
  auto supporter = withCode();
  (void)introduced(supporter);
  now += Invitation::questionFor;
  EXPECT_EQ(told(supporter, invitation.answer(Answer::control, now)), R"({"type":"refused"})");
  EXPECT_EQ(invitation.stage(), Stage::refused);
}

TEST_F(InvitationTest, IsForOneSupporterOnly) {
  auto first = withCode(), second = withCode();
  (void)introduced(first);
  EXPECT_EQ(declineOf(second), "declined 5");
  (void)invitation.answer(Answer::watch, now);
  EXPECT_EQ(declineOf(second), "declined 5");
  invitation.end();
  EXPECT_EQ(declineOf(second), "declined 6");
}

TEST_F(InvitationTest, TellsWhoeverGaveWayToAnother) {
  auto first = withCode(), second = withCode();
  ASSERT_TRUE(first.accept(answerTo(first)));
  const auto effects = received(second.join());
  ASSERT_EQ(effects.send.size(), 2U);
  EXPECT_EQ(first.open(effects.send[0]), "declined 5");
  EXPECT_TRUE(received(first.hello("Ann")).send.empty());
  ASSERT_TRUE(second.accept(effects.send[1]));
  EXPECT_EQ(received(second.hello("Bob")).ask.value().name, "Bob");
}

TEST_F(InvitationTest, AnswersAMessageThatCameTwiceOnce) {
  auto supporter = withCode();
  const auto join = supporter.join();
  const auto effects = received(join);
  EXPECT_TRUE(received(join).send.empty());
  ASSERT_TRUE(supporter.accept(effects.send.at(0)));
  EXPECT_TRUE(received(supporter.hello("Ann")).ask);
  EXPECT_TRUE(received(join).send.empty());
}

TEST_F(InvitationTest, TellsAnotherVersionThatItIsOne) {
  auto supporter = withCode();
  auto join = supporter.join();
  join[0] = 2;
  join.resize(34);  // what all versions have
  EXPECT_EQ(told(supporter, received(join)), "declined 1");
  join[1] = 3;
  EXPECT_TRUE(received(join).send.empty());
}

TEST_F(InvitationTest, IgnoresWhatIsNoMessage) {
  auto supporter = withCode();
  const auto join = supporter.join();
  for (std::size_t length = 0; length <= join.size() + 1; ++length) {
    auto other = join;
    other.resize(length);
    if (length == join.size()) continue;
    EXPECT_TRUE(received(other).send.empty()) << length;
  }
  for (const auto kind : Bytes{0, 2, 4, 5}) {
    auto other = join;
    other[1] = kind;
    EXPECT_TRUE(received(other).send.empty());
  }
  auto otherWay = join;
  otherWay[34] = 4;
  EXPECT_EQ(told(supporter, received(otherWay)), "declined 6");
  ASSERT_TRUE(supporter.accept(answerTo(supporter)));
  auto stranger = supporter.hello("Ann");
  stranger[2] ^= 1U;
  EXPECT_TRUE(received(stranger).send.empty());
  EXPECT_EQ(triesLeft(), 3);
}

TEST_F(InvitationTest, EndsWhenTheSupporterDoesNotWaitForTheAnswer) {
  auto supporter = withCode();
  (void)introduced(supporter);
  EXPECT_TRUE(received(supporter.seal("early")).send.empty());
  EXPECT_EQ(invitation.stage(), Stage::ended);
}

// --- A lost network

TEST_F(InvitationTest, ResumesWithFreshKeysAndWithoutAsking) {
  auto supporter = connected();
  EXPECT_EQ(told(supporter, invitation.networkLost(now)), "declined 7");
  EXPECT_EQ(invitation.stage(), Stage::lost);
  EXPECT_FALSE(invitation.seal(bytesOf("x")));
  now += Invitation::lostFor - milliseconds(1);
  auto again = supporter.resuming();
  const auto effects = introduced(again);
  EXPECT_FALSE(effects.ask);
  EXPECT_TRUE(effects.resumed);
  EXPECT_EQ(told(again, effects), R"({"type":"resumed"})");
  EXPECT_EQ(invitation.stage(), Stage::connected);
  EXPECT_EQ(textOf(received(again.seal("answer")).message.value()), "answer");
  EXPECT_FALSE(received(supporter.seal("old")).message);
  EXPECT_EQ(invitation.stage(), Stage::connected);
  // And once more, with what was agreed on the first time, also before the loss was noticed here.
  auto third = supporter.resuming();
  EXPECT_TRUE(introduced(third).resumed);
  EXPECT_FALSE(invitation.deadline());
}

TEST_F(InvitationTest, IsGoneAfterThirtySeconds) {
  auto supporter = connected();
  (void)invitation.networkLost(now);
  EXPECT_EQ(invitation.deadline(), now + Invitation::lostFor);
  now += Invitation::lostFor;
  auto again = supporter.resuming();
  EXPECT_EQ(declineOf(again), "declined 6");
  EXPECT_EQ(invitation.stage(), Stage::gone);
}

TEST_F(InvitationTest, HasToBeResumedAfterAMessageThatDoesNotOpen) {
  auto supporter = connected();
  const auto message = supporter.seal("one");
  EXPECT_TRUE(received(message).message);
  const auto effects = received(message);
  EXPECT_FALSE(effects.message);
  EXPECT_EQ(told(supporter, effects), "declined 7");
  EXPECT_FALSE(received(supporter.seal("two")).message);
  auto again = supporter.resuming();
  EXPECT_TRUE(introduced(again).resumed);
}

TEST_F(InvitationTest, CannotBeResumedByAnybodyElse) {
  auto supporter = connected();
  for (int tried = 0; tried <= Invitation::triesMax; ++tried) {
    auto stranger = TestSupporter(Way::resumption, Bytes(32), "resumption");
    EXPECT_EQ(told(stranger, introduced(stranger)), "declined 2");
    EXPECT_EQ(invitation.stage(), Stage::connected);
  }
  EXPECT_EQ(textOf(received(supporter.seal("still")).message.value()), "still");
}

TEST_F(InvitationTest, CannotBeResumedWithARecording) {
  auto supporter = connected();
  auto again = supporter.resuming();
  const auto join = again.join();
  ASSERT_TRUE(again.accept(received(join).send.at(0)));
  const auto hello = again.hello("Ann");
  EXPECT_TRUE(received(hello).resumed);
  auto third = supporter.resuming();
  EXPECT_TRUE(introduced(third).resumed);
  EXPECT_EQ(received(join).send.at(0)[1], 2);  // offered, with a nonce that was not there before
  EXPECT_FALSE(received(hello).resumed);
  EXPECT_EQ(textOf(received(third.seal("still")).message.value()), "still");
}

TEST_F(InvitationTest, CannotBeResumedBeforeTheCustomerHasAllowed) {
  auto supporter = withCode();
  (void)introduced(supporter);
  auto again = supporter.resuming();
  EXPECT_EQ(declineOf(again), "declined 5");
  (void)invitation.answer(Answer::refuse, now);
  EXPECT_EQ(declineOf(again), "declined 6");
}

TEST(Invitation, IsNotMadeWithoutRandomBytesForItsShare) {
  Invitation invitation(GivenBytes({}), Invitation::Time());
  auto supporter = TestSupporter::withCode(invitation.code());
  EXPECT_THROW((void)invitation.receive(supporter.join(), {}), std::runtime_error);
}

}  // namespace
}  // namespace quorvin::webui
