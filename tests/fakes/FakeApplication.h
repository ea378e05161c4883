#pragma once

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
  void orderOut() override { calls.emplace_back("orderOut"); }
};

class FakeApplication final : public Application {
 public:
  std::optional<ActivationPolicy> policy;
  std::vector<Window*> windowList;

  int run(int /*argc*/, char** /*argv*/, ApplicationFactories /*factories*/) override { return 0; }
  void setActivationPolicy(ActivationPolicy newPolicy) override { policy = newPolicy; }
  std::vector<Window*> windows() override { return windowList; }
};

}  // namespace quorvin::fakes
