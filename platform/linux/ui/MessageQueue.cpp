#include "platform/linux/ui/MessageQueue.h"

#include <stdexcept>
#include <utility>

#include "platform/flutter/LinkFrame.h"

namespace quorvin {

bool MessageQueue::pushMessage(Bytes frame) {
  if (frame.size() > waitingBytesMax - messageBytes) return false;
  messageBytes += frame.size();
  messages.push_back(std::move(frame));
  return true;
}

void MessageQueue::pushEvent(std::string_view channel, Value event) {
  dropEvent(channel);
  events.push_back(WaitingEvent{std::string(channel), std::move(event)});
}

void MessageQueue::dropEvent(std::string_view channel) {
  std::erase_if(events,
                [channel](const WaitingEvent& waiting) { return waiting.channel == channel; });
}

std::span<const std::uint8_t> MessageQueue::next() {
  if (currentWritten == current.size()) beginNext();
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

void MessageQueue::beginNext() {
  current = Bytes();
  currentWritten = 0;
  currentIsMessage = !messages.empty();
  if (currentIsMessage) {
    current = std::move(messages.front());
    messages.pop_front();
    return;
  }
  while (!events.empty() && current.empty()) {
    const auto waiting = std::move(events.front());
    events.erase(events.begin());
    try {
      current = encodeEventLinkFrame(waiting.channel, waiting.event);
    } catch (const std::runtime_error&) {
      // Too large for the link or not sayable in the codec: as good as never sent.
      continue;
    }
  }
}

}  // namespace quorvin
