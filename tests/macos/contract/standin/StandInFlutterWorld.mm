#import <AppKit/AppKitControl.h>
#import <FlutterMacOS/FlutterControl.h>

#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#import "platform/macos/Flutter.h"
#include "tests/contract/FlutterContract.h"
#include "tests/macos/standin/Threads.h"

namespace quorvin::contract {
namespace {

UiReply toUiReply(const FlutterReply& reply) {
  if (const auto* value = std::get_if<Value>(&reply)) return *value;
  if (const auto* error = std::get_if<FlutterError>(&reply)) return *error;
  return NullReply();
}

FlutterEvent toEvent(const standin::DartEvent& event) {
  if (const auto* value = std::get_if<Value>(&event)) return *value;
  if (const auto* error = std::get_if<FlutterError>(&event)) return *error;
  ADD_FAILURE() << "the stream was ended";
  return Value();
}

// A view controller whose engine runs, and the user interface in it.
class StandInFlutterWorld final : public FlutterWorld {
 public:
  StandInFlutterWorld() {
    @autoreleasepool {
      controller = macFlutter.makeViewController();
      carrier = controller->binaryMessenger();
      auto* native = dynamic_cast<MacFlutterViewController&>(*controller).controller();
      [native viewWillAppear];
      ui = std::make_unique<standin::DartSide>(native.engine);
    }
  }
  ~StandInFlutterWorld() override {
    @autoreleasepool {
      controller.reset();
      carrier.reset();
    }
  }

  Flutter& flutter() override { return macFlutter; }
  std::shared_ptr<FlutterBinaryMessenger> messenger() override { return carrier; }
  bool runUntil(const Condition& condition) override {
    settle();
    return condition();
  }
  void settle() override {
    standin::settle();
    noteReplies();
  }

  Record<UiReply> call(const std::string& channel, const std::string& method,
                       const Value& arguments) override {
    @autoreleasepool {
      return awaited(ui->call(channel, method, arguments));
    }
  }
  Record<UiReply> listen(const std::string& channel, const Value& arguments) override {
    return call(channel, "listen", arguments);
  }
  Record<UiReply> cancel(const std::string& channel, const Value& arguments) override {
    return call(channel, "cancel", arguments);
  }
  std::vector<FlutterEvent> events(const std::string& channel) override {
    auto& all = received[channel];
    for (const auto& event : ui->takeEvents(channel)) all.push_back(toEvent(event));
    return all;
  }
  std::vector<std::string> texts(const std::string& channel) override {
    auto& all = receivedTexts[channel];
    for (const auto& text : ui->takeTexts(channel)) all.push_back(text);
    return all;
  }

 private:
  struct Pending {
    std::shared_ptr<const standin::DartReply> reply;
    Record<UiReply> record;
  };

  Record<UiReply> awaited(std::shared_ptr<const standin::DartReply> reply) {
    return pending.emplace_back(Pending{std::move(reply), {}}).record;
  }
  void noteReplies() {
    std::erase_if(pending, [](const Pending& call) {
      if (call.reply->hasArrived) call.record.add(toUiReply(call.reply->answer));
      return call.reply->hasArrived;
    });
  }

  MacFlutter macFlutter;
  std::shared_ptr<FlutterViewController> controller;
  std::shared_ptr<FlutterBinaryMessenger> carrier;
  std::unique_ptr<standin::DartSide> ui;
  std::vector<Pending> pending;
  std::map<std::string, std::vector<FlutterEvent>> received;
  std::map<std::string, std::vector<std::string>> receivedTexts;
};

const auto embedding = testing::Values(
    WorldKind<FlutterWorld>{"Embedding", [] { return std::make_unique<StandInFlutterWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, FlutterMethodContract, embedding, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, FlutterEventContract, embedding, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, FlutterTextContract, embedding, nameOfWorld);

}  // namespace quorvin::contract
