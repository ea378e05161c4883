#include "platform/linux/link/MessageQueue.h"

#include <stdexcept>
#include <utility>

#include "platform/flutter/LinkFrame.h"

namespace quorvin {

bool MessageQueue::pushMessage(Bytes frame) {
  if (frame.size() > waitingBytesMax - messageBytes) return false;
  messageBytes += frame.size();
  messages.push_back({++lastTurn, std::move(frame)});
  return true;
}

void MessageQueue::pushEvent(std::string_view channel, Value event) {
  dropEvent(channel);
  events.push_back({++lastTurn, std::string(channel), std::move(event)});
}

void MessageQueue::dropEvent(std::string_view channel) {
  std::erase_if(events,
                [channel](const WaitingEvent& waiting) { return waiting.channel == channel; });
}

std::span<const std::uint8_t> MessageQueue::next() {
  while (current.empty() && !(messages.empty() && events.empty())) {
    if (isMessageNext()) {
      beginMessage();
    } else {
      beginEvent();
    }
  }
  return std::span<const std::uint8_t>(current).subspan(currentWritten);
}

void MessageQueue::wrote(std::size_t count) {
  currentWritten += count;
  if (currentIsMessage) messageBytes -= count;
  // A frame may be megabytes: its memory is not kept while nothing goes out.
  if (currentWritten == current.size()) {
    current = Bytes();
    currentWritten = 0;
  }
}

bool MessageQueue::isMessageNext() const {
  if (messages.empty() || events.empty()) return events.empty();
  return messages.front().turn < events.front().turn;
}

void MessageQueue::beginMessage() {
  currentIsMessage = true;
  current = std::move(messages.front().frame);
  messages.pop_front();
}

void MessageQueue::beginEvent() {
  currentIsMessage = false;
  const auto waiting = std::move(events.front());
  events.erase(events.begin());
  try {
    current = encodeEventLinkFrame(waiting.channel, waiting.event);
  } catch (const std::runtime_error&) {
    // Too large for the link or not sayable in the codec: as good as never sent.
    return;
  }
}

}  // namespace quorvin
