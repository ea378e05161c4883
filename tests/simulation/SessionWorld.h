#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Runner/QuorvinHostBridge.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/simulation/Seeds.h"

namespace quorvin::simulation {

// A bridge on a fake machine, a user interface that calls it in any order, and a system that
// answers slowly, in any order, with samples, stops and errors in between. After every step the
// promises of a session are checked; the first one broken ends the run.
class SessionWorld {
 public:
  explicit SessionWorld(std::uint64_t seed);

  [[nodiscard]] Outcome run(int steps);

 private:
  struct Action {
    std::string name;
    std::uint64_t weight;
    std::function<void()> perform;
  };
  struct PendingCall {
    std::string method;
    std::shared_ptr<fakes::FakeMessenger::Call> call;
    bool noted = false;  // the reply stands in the trace
  };

  void addActions();
  void addAction(const std::string& name, std::uint64_t weight, std::function<void()> perform);
  void step();
  void settle();

  void call(const std::string& method, Value arguments = {});
  void startSession();
  void inject();
  void listen();
  void receive(const FlutterEvent& event);
  void receiveFrame(const Data& frame);
  void receiveError(const FlutterError& error);
  void withAnyStream(const std::function<void(fakes::FakeStream&)>& body);
  void sendSample(fakes::FakeStream& stream);
  [[nodiscard]] std::optional<int> sessionOf(const DispatchQueue* captureQueue) const;

  void followInput();
  void expectNothingHeld(const std::string& when);
  void checkInput();
  void checkPromises();
  void checkReplies(bool mustBeAnswered);
  void checkQueuedDeliveries();
  void followSession();
  void note(const std::string& line);
  void fail(const std::string& promise);

  fakes::FakeMachine machine;
  std::shared_ptr<QuorvinHostBridge> bridge;
  std::weak_ptr<QuorvinHostBridge> weakBridge;
  std::vector<Action> actions;
  std::vector<PendingCall> calls;
  std::shared_ptr<fakes::FakeMessenger::Call> newestStart;  // that was not refused
  // The capture queue of every session so far, which tells whose stream or sample it is. Held, so
  // that no later queue takes the address of an earlier one.
  std::vector<std::shared_ptr<fakes::SimulatedQueue>> captureQueues;
  std::optional<int> liveSession;  // index into captureQueues; empty while idle
  // Whether the newest session may still report that it ended by itself: once, even after its
  // start has failed, but not after a stop that was asked for.
  bool mayReportEnd = false;
  std::uint32_t lastFrame = 0;
  std::set<std::string> heldInput;  // what was posted as pressed and not as released
  Outcome outcome;
};

}  // namespace quorvin::simulation
