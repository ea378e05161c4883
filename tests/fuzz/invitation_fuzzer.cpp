// A hello that is read can be shown. And whatever comes, in whatever order and at whatever time: an
// invitation asks once and only for a supporter who knows the code, sends nothing sealed before and
// carries nothing before the answer, is void after three tries, and stays ended when it has ended.

#include <memory>
#include <random>

#include "platform/Fatal.h"
#include "tests/fuzz/FuzzInput.h"
#include "webui/tests/trust/TestSupporter.h"

using namespace quorvin;         // NOLINT: a program of one file
using namespace quorvin::webui;  // NOLINT

namespace {

void must(bool holds, const char* what) {
  if (!holds) fatalError(what);
}

void checkHello(ByteView bytes) {
  const auto hello = readHello(bytes);
  if (!hello) return;
  must(!hello->name.empty() && hello->name.size() <= 256, "a name has no length that fits");
  std::string opening(64, '\0');
  sodium_bin2base64(opening.data(), opening.size(), hello->opening.data(), hello->opening.size(),
                    sodium_base64_VARIANT_URLSAFE_NO_PADDING);
  const auto again =
      nlohmann::json{{"type", "hello"}, {"name", hello->name}, {"opening", opening.c_str()}}.dump();
  must(readHello(bytesOf(again)).value().name == hello->name, "a clean name is cleaned again");
  must(std::ranges::none_of(hello->name, [](char c) { return (c >= 0 && c < 32) || c == 127; }),
       "a name has control characters");
}

class Session {
 public:
  void step(FuzzInput& input) {
    switch (input.byte() % 9) {
      case 0:
        return join(TestSupporter::withCode(code, random), true);
      case 1:
        return say(supporter->channel ? supporter->hello(std::string(input.byte(), 'x')) : last);
      case 2:
        return say(supporter->channel ? supporter->seal(textOf(input.bytes(input.byte()))) : last);
      case 3:
        return answer(static_cast<Invitation::Answer>(input.byte() % 3));
      case 4:
        return say(joined({input.bytes(input.byte())}));
      case 5:
        if (!last.empty()) last[input.byte() % last.size()] ^= input.byte();
        return say(last);
      case 6:
        check(invitation.networkLost(now));
        if (allowed) join(allowed->resuming(random), true);
        return;
      case 7:
        return join(TestSupporter::withCode(wrongCode, random), false);
      default:
        now += std::chrono::seconds(input.byte());
        return check(invitation.timePassed(now));
    }
  }

 private:
  void join(TestSupporter next, bool knows) {
    supporter = std::make_shared<TestSupporter>(std::move(next));
    supporterKnows = knows;
    last = supporter->join();
    const auto effects = invitation.receive(last, now);
    check(effects);
    if (!effects.send.empty()) supporter->accept(effects.send.back());
  }
  void say(const Bytes& bytes) {
    last = bytes;
    check(invitation.receive(bytes, now));
  }
  void answer(Invitation::Answer answer) {
    if (invitation.stage() == Stage::asking && answer != Invitation::Answer::refuse) {
      allowed = asker;
    }
    check(invitation.answer(answer, now));
  }
  void check(const Invitation::Effects& effects) {
    must(!effects.ask || (!asker && supporterKnows), "asked twice, or for a stranger");
    for (const auto& bytes : effects.send) {
      must(bytes.size() >= 35 && (bytes[1] != 3 || asker), "sent what depends on a key");
      if (bytes[1] == 4 && (bytes[34] == 2 || bytes[34] == 4)) ++wrongTries;
    }
    if (effects.ask) asker = supporter;
    must(allowed || !(effects.message || effects.resumed), "carried what nobody has allowed");
    const auto stage = invitation.stage();
    must(before < Stage::expired || stage == before, "began again");
    must(stage != Stage::tooManyTries || wrongTries >= Invitation::triesMax,
         "was void before three wrong tries");
    must(invitation.seal({}).has_value() == (stage == Stage::connected), "sealed too early");
    must(invitation.code().empty() == (stage != Stage::waiting), "forgot nothing");
    before = stage;
  }

  using Stage = Invitation::Stage;
  Invitation::Time now{};
  int wrongTries = 0;
  std::mt19937_64 engine;  // the same for every input, so that each can be replayed
  RandomBytes random = [this](std::span<std::uint8_t> bytes) {
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(engine());
  };
  Invitation invitation{random, now};
  std::string code = invitation.code();
  std::string wrongCode = code.substr(0, 11) + (code.back() == '0' ? '1' : '0');
  std::shared_ptr<TestSupporter> supporter =
      std::make_shared<TestSupporter>(TestSupporter::withCode(code, random));
  std::shared_ptr<TestSupporter> asker, allowed;
  bool supporterKnows = true;
  Stage before = Stage::waiting;
  Bytes last;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  if (size > 0 && data[0] == '{') {
    checkHello({data, size});
    return 0;
  }
  FuzzInput input(data, std::min<std::size_t>(size, 200));
  Session session;
  while (!input.empty()) session.step(input);
  return 0;
}
