#include "platform/unix/HeldInput.h"

namespace quorvin {
namespace {

void append(JournalMessage& message, InputRecord record) {
  message.push_back(static_cast<std::uint8_t>(record.change));
  message.push_back(record.code);
}

}  // namespace

JournalMessage journalMessage(InputRecord record) {
  JournalMessage message;
  append(message, record);
  return message;
}

void HeldInput::note(InputRecord record) {
  switch (record.change) {
    case InputChange::pressButton:
      buttons.insert(record.code);
      break;
    case InputChange::pressKey:
      keys.insert(record.code);
      break;
    case InputChange::bindKey:
      boundKeys.insert(record.code);
      break;
    case InputChange::unbindKey:
      boundKeys.erase(record.code);
      break;
  }
}

void HeldInput::note(std::span<const std::uint8_t> message) {
  for (; message.size() >= journalRecordBytes; message = message.subspan(journalRecordBytes)) {
    note({static_cast<InputChange>(message[0]), message[1]});
  }
}

JournalMessage HeldInput::asMessage() const {
  JournalMessage message;
  for (const auto button : buttons) append(message, {InputChange::pressButton, button});
  for (const auto key : keys) append(message, {InputChange::pressKey, key});
  for (const auto key : boundKeys) append(message, {InputChange::bindKey, key});
  return message;
}

}  // namespace quorvin
