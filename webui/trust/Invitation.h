#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webui/trust/Messages.h"

namespace quorvin::webui {

// The customer's side of one invitation, as docs/invitation.md has it: from its secrets to the
// channel with the one supporter who was allowed. It is told what comes in and what time it is, and
// says what to send and to ask. Nothing that depends on a key leaves before a supporter has shown
// that it has the link or the code, and nothing of the customer's own before the customer's answer.
// One thread at a time.
class Invitation {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::minutes validFor{10};
  static constexpr std::chrono::minutes questionFor{2};
  static constexpr std::chrono::seconds lostFor{30};
  static constexpr int triesMax = 3;

  enum class Stage {
    waiting,  // for a supporter
    asking,   // the customer
    connected,
    lost,     // until the supporter resumes
    expired,  // this and all that follow are final
    tooManyTries,
    refused,  // or not answered in time
    gone,     // lost for too long
    ended,
  };
  enum class Answer { watch, control, refuse };
  struct Question {
    std::string name;
    Words words;
  };
  struct Effects {
    std::vector<Bytes> send;       // each to the supporter whose nonce is its bytes 2 to 33
    std::optional<Question> ask;   // the customer, as long as the stage is `asking`
    std::optional<Bytes> message;  // from the supporter who was allowed
    bool resumed = false;          // over a new channel
  };

  // What opens a computer that is left alone, to whoever has it.
  struct DeviceLink {
    ClientId inbox{};
    Secret<32> secret;
  };

  // Throws std::runtime_error, as everything here, when the library or `random` is of no use.
  Invitation(RandomBytes random, Time now);
  // Has a link only, which no time and no wrong try makes void: nobody guesses 256 bits.
  Invitation(RandomBytes random, const DeviceLink& device);

  // "482 913 5072", and an address with a fragment; empty when they are of no use any more.
  [[nodiscard]] std::string code() const;
  [[nodiscard]] std::string link(std::string_view page) const;
  // The code's first four digits, if any. No two invitations at a broker may have the same.
  [[nodiscard]] const std::string& place() const { return codePlace; }
  // For one that finds no place at its broker: the link stays good.
  void withdrawCode();
  [[nodiscard]] const ClientId& inbox() const { return ownInbox; }
  [[nodiscard]] Stage stage() const { return current; }
  // When to call `timePassed` at the latest.
  [[nodiscard]] std::optional<Time> deadline() const { return currentDeadline; }

  [[nodiscard]] Effects receive(ByteView bytes, Time now);
  [[nodiscard]] Effects timePassed(Time now);
  // Without effect unless the customer is being asked.
  [[nodiscard]] Effects answer(Answer answer, Time now);
  // An envelope for the supporter; nothing unless the stage is `connected`.
  [[nodiscard]] std::optional<Bytes> seal(ByteView message);
  // When the supporter cannot be reached any more.
  [[nodiscard]] Effects networkLost(Time now);
  // Says nothing to the supporter. Without effect once the stage is final.
  void end() {
    if (current < Stage::expired) finish(Stage::ended);
  }

 private:
  struct Attempt {
    Way way;
    Transcript transcript;
    Secret<64> key;
    SealedChannel channel;
  };

  void makeCode();
  void onJoin(const Envelope& join, Effects& effects);
  void onHello(Attempt attempt, ByteView content, Time now, Effects& effects);
  void onMessage(ByteView content, Time now, Effects& effects);
  [[nodiscard]] std::optional<Attempt> meet(const Envelope& join, Bytes& offer);
  [[nodiscard]] Decline reasonAgainstJoining() const;
  void sendSealed(std::string_view message, Effects& effects);
  void lose(Time now, Effects& effects);
  void advance(Stage stage, std::optional<Time> deadline);
  void finish(Stage stage);

  RandomBytes random;
  Stage current = Stage::waiting;
  std::optional<Time> currentDeadline;
  bool standing = false;  // nothing but a supporter ends the waiting
  int tries = 0;
  ClientId ownInbox{};
  std::string codePlace;
  std::map<Way, Secret<32>> passwords;  // with which one may join now
  std::optional<Attempt> candidate;     // has joined, and said nothing yet
  std::optional<Attempt> guest;
};

}  // namespace quorvin::webui
