#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Flutter.h"

namespace quorvin::fakes {

// The user interface's end: calls methods, listens, and remembers what came back.
class FakeMessenger final : public FlutterBinaryMessenger {
 public:
  struct Call {
    int replies = 0;
    FlutterReply reply;  // the last one
  };

  std::map<std::string, FlutterMethodCallHandler> methodHandlers;
  std::map<std::string, std::shared_ptr<FlutterStreamHandler>> streamHandlers;
  std::vector<FlutterEvent> events;
  std::vector<std::pair<std::string, std::string>> messages;  // channel and text, as sent

  // A channel that nobody handles answers as if the method were not implemented.
  void call(const std::string& channel, const std::string& method, Value arguments,
            FlutterResult result) {
    const auto known = methodHandlers.find(channel);
    if (known == methodHandlers.end()) return result(FlutterMethodNotImplemented());
    const auto handler = known->second;  // outlives one that removes itself
    handler({method, std::move(arguments)}, std::move(result));
  }
  std::shared_ptr<Call> invoke(const std::string& channel, const std::string& method,
                               Value arguments = {}) {
    auto call = std::make_shared<Call>();
    this->call(channel, method, std::move(arguments), [call](FlutterReply reply) {
      ++call->replies;
      call->reply = std::move(reply);
    });
    return call;
  }

  // As Flutter does: a listener that is there already is cancelled first.
  std::optional<FlutterError> listen(const std::string& channel, const Value& arguments,
                                     FlutterEventSink sink) {
    const auto handler = streamHandlers.at(channel);
    if (!listening.insert(channel).second) handler->onCancel({});
    return handler->onListen(arguments, std::move(sink));
  }
  std::optional<FlutterError> listen(const std::string& channel) {
    return listen(channel, {}, [this](FlutterEvent event) { events.push_back(std::move(event)); });
  }
  // As Flutter does: the handler does not hear of a cancel while nobody listens.
  std::optional<FlutterError> cancel(const std::string& channel, const Value& arguments = {}) {
    const auto handler = streamHandlers.at(channel);
    if (listening.erase(channel) == 0) {
      return FlutterError{"error", "No active stream to cancel", {}};
    }
    return handler->onCancel(arguments);
  }
  void setStreamHandler(const std::string& channel, std::shared_ptr<FlutterStreamHandler> handler) {
    listening.erase(channel);
    if (handler) {
      streamHandlers[channel] = std::move(handler);
    } else {
      streamHandlers.erase(channel);
    }
  }

  // What an engine does when it shuts down. The handlers go one after the other, as what they
  // hold may come back to remove itself.
  void shutDown() {
    std::exchange(methodHandlers, {}).clear();
    std::exchange(streamHandlers, {}).clear();
  }

 private:
  std::set<std::string> listening;  // channels with a listener
};

class FakeFlutter final : public Flutter {
 public:
  std::shared_ptr<FakeMessenger> messenger = std::make_shared<FakeMessenger>();
  int viewControllersMade = 0;
  std::vector<std::string> plugins;  // registrar keys, in order

  std::shared_ptr<FlutterViewController> makeViewController() override {
    ++viewControllersMade;
    return std::make_shared<Controller>(*this);
  }
  std::unique_ptr<FlutterMethodChannel> makeMethodChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> carrier) override {
    return std::make_unique<MethodChannel>(name, std::static_pointer_cast<FakeMessenger>(carrier));
  }
  std::unique_ptr<FlutterEventChannel> makeEventChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> carrier) override {
    return std::make_unique<EventChannel>(name, std::static_pointer_cast<FakeMessenger>(carrier));
  }
  std::unique_ptr<FlutterBasicMessageChannel> makeBasicMessageChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> carrier) override {
    return std::make_unique<BasicMessageChannel>(name,
                                                 std::static_pointer_cast<FakeMessenger>(carrier));
  }

 private:
  class Controller final : public FlutterViewController {
   public:
    explicit Controller(FakeFlutter& flutter) : flutter(flutter) {}
    std::shared_ptr<FlutterBinaryMessenger> binaryMessenger() override { return flutter.messenger; }
    void registerPlugin(const std::string& key) override { flutter.plugins.push_back(key); }

   private:
    FakeFlutter& flutter;
  };

  class BasicMessageChannel final : public FlutterBasicMessageChannel {
   public:
    BasicMessageChannel(std::string name, std::shared_ptr<FakeMessenger> messenger)
        : name(std::move(name)), messenger(std::move(messenger)) {}
    void sendMessage(const std::string& message) override {
      messenger->messages.emplace_back(name, message);
    }

   private:
    std::string name;
    std::shared_ptr<FakeMessenger> messenger;
  };

  class MethodChannel final : public FlutterMethodChannel {
   public:
    MethodChannel(std::string name, std::shared_ptr<FakeMessenger> messenger)
        : name(std::move(name)), messenger(std::move(messenger)) {}
    void setMethodCallHandler(FlutterMethodCallHandler handler) override {
      if (handler) {
        messenger->methodHandlers[name] = std::move(handler);
      } else {
        messenger->methodHandlers.erase(name);
      }
    }

   private:
    std::string name;
    std::shared_ptr<FakeMessenger> messenger;
  };

  class EventChannel final : public FlutterEventChannel {
   public:
    EventChannel(std::string name, std::shared_ptr<FakeMessenger> messenger)
        : name(std::move(name)), messenger(std::move(messenger)) {}
    void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) override {
      messenger->setStreamHandler(name, std::move(handler));
    }

   private:
    std::string name;
    std::shared_ptr<FakeMessenger> messenger;
  };
};

}  // namespace quorvin::fakes
