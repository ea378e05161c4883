#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tests/contract/FlutterContract.h"
#include "tests/fakes/FakeFlutter.h"

namespace quorvin::contract {
namespace {

UiReply toUiReply(const FlutterReply& reply) {
  if (const auto* value = std::get_if<Value>(&reply)) return *value;
  if (const auto* error = std::get_if<FlutterError>(&reply)) return *error;
  return NullReply();
}

class FakeFlutterWorld final : public FlutterWorld {
 public:
  ~FakeFlutterWorld() override { ui().shutDown(); }

  Flutter& flutter() override { return fake; }
  std::shared_ptr<FlutterBinaryMessenger> messenger() override { return fake.messenger; }
  // Everything arrives at once.
  bool runUntil(const Condition& condition) override { return condition(); }
  void settle() override {}

  Record<UiReply> call(const std::string& channel, const std::string& method,
                       const Value& arguments) override {
    const Record<UiReply> replies;
    ui().call(channel, method, arguments,
              [=](const FlutterReply& reply) { replies.add(toUiReply(reply)); });
    return replies;
  }
  Record<UiReply> listen(const std::string& channel, const Value& arguments) override {
    return answered(channel, [&] {
      return ui().listen(channel, arguments, [this, channel](const FlutterEvent& event) {
        received[channel].push_back(event);
      });
    });
  }
  Record<UiReply> cancel(const std::string& channel, const Value& arguments) override {
    return answered(channel, [&] { return ui().cancel(channel, arguments); });
  }
  std::vector<FlutterEvent> events(const std::string& channel) override {
    return received[channel];
  }
  std::vector<std::string> texts(const std::string& channel) override {
    std::vector<std::string> texts;
    for (const auto& [name, text] : ui().messages) {
      if (name == channel) texts.push_back(text);
    }
    return texts;
  }

 private:
  fakes::FakeMessenger& ui() { return *fake.messenger; }

  template <typename Operation>
  Record<UiReply> answered(const std::string& channel, const Operation& operation) {
    const Record<UiReply> replies;
    if (!ui().streamHandlers.contains(channel)) {
      replies.add(NullReply());
    } else if (const std::optional<FlutterError> error = operation()) {
      replies.add(*error);
    } else {
      replies.add(Value());
    }
    return replies;
  }

  fakes::FakeFlutter fake;
  std::map<std::string, std::vector<FlutterEvent>> received;
};

const auto fakeMessenger =
    testing::Values(WorldKind<FlutterWorld>{"Direct", [] {
                                              return std::make_unique<FakeFlutterWorld>();
                                            }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, FlutterMethodContract, fakeMessenger, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, FlutterEventContract, fakeMessenger, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, FlutterTextContract, fakeMessenger, nameOfWorld);

}  // namespace quorvin::contract
