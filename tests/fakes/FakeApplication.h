#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Application.h"

namespace quorvin::fakes {

// Writes down what is done to it, in order.
class FakeWindow final : public Window {
 public:
  std::vector<std::string> calls;
  std::shared_ptr<FlutterViewController> controller;
  Size contentSize;
  Size contentMinSize;
  std::string title;
  double alpha = 1;
  bool visible = true;
  bool miniaturized = false;
  std::uint64_t occlusion = windowOcclusionStateVisible;

  void setContentViewController(std::shared_ptr<FlutterViewController> newController) override {
    calls.emplace_back("setContentViewController");
    controller = std::move(newController);
  }
  void setContentSize(Size size) override {
    calls.emplace_back("setContentSize");
    contentSize = size;
  }
  void center() override { calls.emplace_back("center"); }
  void setContentMinSize(Size size) override {
    calls.emplace_back("setContentMinSize");
    contentMinSize = size;
  }
  void setTitle(const std::string& newTitle) override {
    calls.emplace_back("setTitle");
    title = newTitle;
  }
  void setAlphaValue(double newAlpha) override {
    calls.emplace_back("setAlphaValue");
    alpha = newAlpha;
  }
  void orderOut() override {
    calls.emplace_back("orderOut");
    visible = false;
  }
  bool isVisible() override { return visible; }
  bool isMiniaturized() override { return miniaturized; }
  std::uint64_t occlusionState() override { return occlusion; }
};

// Delivers what the test posts, at once.
class FakeNotificationCenter final : public NotificationCenter {
 public:
  class Observer final : public NotificationObserver {
   public:
    Observer(Notification name, NotificationSender* sender, std::function<void()> handler)
        : name(name), sender(sender), handler(std::move(handler)) {}
    Notification name;
    NotificationSender* sender;
    std::function<void()> handler;
  };

  std::vector<std::shared_ptr<Observer>> observers;  // in the order they came
  std::vector<std::shared_ptr<NotificationObserver>> removed;

  void post(Notification name, NotificationSender* sender) {
    for (const auto& observer : std::vector(observers)) {
      if (observer->name != name) continue;
      if (observer->sender == nullptr || observer->sender == sender) observer->handler();
    }
  }
  std::shared_ptr<NotificationObserver> addObserver(Notification name, NotificationSender* sender,
                                                    std::function<void()> handler) override {
    return observers.emplace_back(std::make_shared<Observer>(name, sender, std::move(handler)));
  }
  void removeObserver(const std::shared_ptr<NotificationObserver>& observer) override {
    removed.push_back(observer);
    std::erase(observers, observer);
  }
};

class FakeApplication final : public Application {
 public:
  std::optional<ActivationPolicy> policy;
  std::vector<Window*> windowList;
  bool made = true;
  bool hidden = false;
  bool active = true;

  int run(int /*argc*/, char** /*argv*/, ApplicationFactories /*factories*/) override { return 0; }
  bool exists() override { return made; }
  bool isHidden() override { return hidden; }
  bool isActive() override { return active; }
  void setActivationPolicy(ActivationPolicy newPolicy) override { policy = newPolicy; }
  std::vector<Window*> windows() override { return windowList; }
};

}  // namespace quorvin::fakes
