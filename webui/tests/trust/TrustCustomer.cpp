// The customer's side on standard input and output, for tests of the supporter's page: each line
// is a message in hexadecimal, "watch", "control", "refuse" or "lost"; each answer ends with the
// stage's number.

#include <iostream>

#include "webui/tests/trust/Hex.h"
#include "webui/trust/Invitation.h"

namespace {

using namespace quorvin::webui;  // NOLINT: a program of one file

Invitation::Effects effectsOf(Invitation& invitation, const std::string& line) {
  const Invitation::Time now{};
  if (line == "watch") return invitation.answer(Invitation::Answer::watch, now);
  if (line == "control") return invitation.answer(Invitation::Answer::control, now);
  if (line == "refuse") return invitation.answer(Invitation::Answer::refuse, now);
  if (line == "lost") return invitation.networkLost(now);
  return invitation.receive(fromHex(line), now);
}

}  // namespace

int main() {
  Invitation invitation(systemRandom, Invitation::Time{});
  std::cout << invitation.link("https://place.example/") << '\n' << invitation.code() << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    const auto effects = effectsOf(invitation, line);
    for (const auto& bytes : effects.send) std::cout << "send " << toHex(bytes) << '\n';
    if (effects.ask) {
      const auto& [name, words] = *effects.ask;
      std::cout << "ask " << name << '|' << words[0] << ' ' << words[1] << ' ' << words[2] << '\n';
    }
    if (effects.message) {
      std::cout << "message " << textOf(*effects.message) << '\n';
      std::cout << "send " << toHex(invitation.seal(*effects.message).value()) << '\n';
    }
    std::cout << "stage " << static_cast<int>(invitation.stage()) << std::endl;
  }
  return 0;
}
