#include "platform/linux/link/Messenger.h"

#include <cassert>
#include <utility>

namespace quorvin {

void LinuxMessenger::run(GMainContext* context, FileDescriptor socket,
                         std::function<void()> onClosed) {
  // The link lives no longer than this messenger, which may go while one of these runs.
  link = UiLink::open(context, std::move(socket),
                      {.onMessage =
                           [weak = weak_from_this()](const LinkFrame& message) {
                             if (auto messenger = weak.lock()) messenger->onMessage(message);
                           },
                       .onClosed =
                           [weak = weak_from_this(), onClosed = std::move(onClosed)] {
                             if (auto messenger = weak.lock()) messenger->cancelListeners();
                             onClosed();
                           }});
}

void LinuxMessenger::shutDown() {
  cancelListeners();
  // Handlers hold parts of the program, whose end may call back here.
  const auto forgotten = std::exchange(handlers, {});
  if (link != nullptr) link->close();
}

void LinuxMessenger::setHandler(const std::string& channel,
                                std::shared_ptr<ChannelHandler> handler) {
  assert(thread.isCurrent());
  // The former handler, kept here until the new one is in its place: its end may call back.
  const auto former = std::exchange(handlers[channel], std::move(handler));
}

void LinuxMessenger::removeHandler(const std::string& channel, const ChannelHandler* handler) {
  assert(thread.isCurrent());
  const auto entry = handlers.find(channel);
  if (entry == handlers.end() || entry->second.get() != handler) return;
  const auto removed = handlers.extract(entry);
}

void LinuxMessenger::sendEvent(std::string_view channel, Value event) {
  if (link != nullptr) link->sendEvent(channel, std::move(event));
}

void LinuxMessenger::sendMessage(std::string_view channel, Bytes payload) {
  if (link != nullptr) link->sendMessage(channel, std::move(payload));
}

void LinuxMessenger::dropEvent(std::string_view channel) {
  if (link != nullptr) link->dropEvent(channel);
}

void LinuxMessenger::onMessage(const LinkFrame& message) {
  assert(thread.isCurrent());
  auto answer = makeAnswer(message.id);
  const auto entry = handlers.find(message.channel);
  if (entry == handlers.end()) return answer(std::nullopt);
  const auto handler = entry->second;  // stays while it runs, even if it removes itself
  handler->onMessage(message.payload, std::move(answer));
}

MessageAnswer LinuxMessenger::makeAnswer(std::uint32_t id) {
  // Copies of the answer share the note that it was given: the user interface may use the id for
  // another message by then.
  auto given = std::make_shared<bool>(id == 0);
  return [weak = weak_from_this(), id, given](std::optional<Bytes> payload) {
    if (std::exchange(*given, true)) return;
    if (auto messenger = weak.lock(); messenger != nullptr && messenger->link != nullptr) {
      messenger->link->reply(id, std::move(payload));
    }
  };
}

void LinuxMessenger::cancelListeners() {
  assert(thread.isCurrent());
  const auto cancelled = handlers;  // a cancelled listener may change the handlers
  for (const auto& [channel, handler] : cancelled) handler->cancelListener();
}

}  // namespace quorvin
