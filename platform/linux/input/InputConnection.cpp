#include "platform/linux/input/InputConnection.h"

#include <chrono>
#include <utility>

namespace quorvin {

namespace {

constexpr std::chrono::milliseconds none{0};
constexpr std::chrono::milliseconds patience{1000};

}  // namespace

InputConnection::InputConnection(std::string display, InputJournal& journal)
    : display(std::move(display)), journal(journal) {}

InputConnection::~InputConnection() = default;

InputInjector* InputConnection::injector() {
  if (display.empty()) return nullptr;
  if (isConnected()) return current.get();
  const bool isGoingOn = attempt != nullptr && !attempt->isOverWithin(none);
  if (!isGoingOn) start();
  // Only the first to ask waits; whoever comes while it still goes on does not.
  if (!attempt->isOverWithin(isGoingOn ? none : patience)) return nullptr;
  auto* connection = attempt->connection();
  if (connection == nullptr || connection->isBroken()) return nullptr;
  current = std::make_unique<InputInjector>(*connection, std::move(*server), journal,
                                            std::exchange(left, {}));
  return current.get();
}

void InputConnection::start() {
  if (current) left = current->leftovers();
  current.reset();
  server = std::make_shared<InputServer>();
  attempt = std::make_unique<DisplayAttempt>(display, [found = server](X11Connection& connection) {
    *found = InputServer::ask(connection);
    return !connection.isBroken();
  });
}

bool InputConnection::isConnected() {
  return current != nullptr && current->isConnected();
}

}  // namespace quorvin
