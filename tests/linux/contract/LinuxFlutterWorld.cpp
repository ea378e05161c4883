#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#include "platform/linux/link/Flutter.h"
#include "tests/contract/FlutterContract.h"
#include "tests/linux/link/LinkPeer.h"
#include "tests/linux/link/TestLoop.h"

namespace quorvin::contract {
namespace {

UiReply toUiReply(const LinkFrame& frame) {
  if (frame.type == LinkFrameType::emptyReply) return NullReply();
  auto answer = decodeEnvelope(frame.payload.bytes());
  if (auto* error = std::get_if<FlutterError>(&answer)) return std::move(*error);
  return std::get<Value>(std::move(answer));
}

// The user interface at the other end of the UI link.
class LinuxFlutterWorld final : public FlutterWorld {
 public:
  LinuxFlutterWorld() {
    controller.runEngine(loop.context(), peer.takeHostsEnd(), [] {});
  }
  ~LinuxFlutterWorld() override { controller.shutDownEngine(); }

  Flutter& flutter() override { return linuxFlutter; }
  std::shared_ptr<FlutterBinaryMessenger> messenger() override {
    return controller.binaryMessenger();
  }
  bool runUntil(const Condition& condition) override {
    return loop.runUntil([&] {
      receive();
      return condition();
    });
  }
  void settle() override {
    loop.runUntilIdle();
    receive();
  }

  Record<UiReply> call(const std::string& channel, const std::string& method,
                       const Value& arguments) override {
    const auto id = nextId++;
    EXPECT_TRUE(peer.sendMessage(channel, id, encodeMethodCall({method, arguments})));
    return replies[id];
  }
  Record<UiReply> listen(const std::string& channel, const Value& arguments) override {
    return call(channel, "listen", arguments);
  }
  Record<UiReply> cancel(const std::string& channel, const Value& arguments) override {
    return call(channel, "cancel", arguments);
  }
  std::vector<FlutterEvent> events(const std::string& channel) override {
    std::vector<FlutterEvent> events;
    for (const auto& payload : messages[channel]) events.push_back(decodeEnvelope(payload));
    return events;
  }
  std::vector<std::string> texts(const std::string& channel) override {
    std::vector<std::string> texts;
    for (const auto& payload : messages[channel])
      texts.emplace_back(payload.begin(), payload.end());
    return texts;
  }

 private:
  void receive() {
    peer.receive();
    for (const auto& frame : std::exchange(peer.frames, {})) {
      if (frame.type == LinkFrameType::message) {
        const auto bytes = frame.payload.bytes();
        messages[frame.channel].emplace_back(bytes.begin(), bytes.end());
      } else {
        replies[frame.id].add(toUiReply(frame));
      }
    }
  }

  TestLoop loop;
  LinkPeer peer;
  LinuxFlutterViewController controller;
  LinuxFlutter linuxFlutter;
  std::uint32_t nextId = 1;
  std::map<std::uint32_t, Record<UiReply>> replies;
  std::map<std::string, std::vector<Bytes>> messages;
};

const auto uiLink =
    testing::Values(WorldKind<FlutterWorld>{"UiLink", [] {
                                              return std::make_unique<LinuxFlutterWorld>();
                                            }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, FlutterMethodContract, uiLink, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, FlutterEventContract, uiLink, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, FlutterTextContract, uiLink, nameOfWorld);

}  // namespace quorvin::contract
