// Whatever becomes of messages on their way: the receiver opens what was sent, as it was sent and
// in that order, until something else comes, and nothing from then on.

#include <optional>

#include "platform/Fatal.h"
#include "tests/fuzz/FuzzInput.h"
#include "webui/trust/SealedChannel.h"

using namespace quorvin;         // NOLINT: a program of one file
using namespace quorvin::webui;  // NOLINT

namespace {

const Bytes secret(32, 1);
const Transcript transcript{{2}, {3}, {4}};

class Wire {
 public:
  void step(FuzzInput& input) {
    const auto what = input.byte() % 6;
    if (what == 5) return deliver(joined({input.bytes(input.byte())}), std::nullopt);
    const Bytes message = joined({input.bytes(input.byte())});
    if (what == 4) return deliver(receiver.seal(message).value_or(Bytes()), std::nullopt);
    auto sealed = sender.seal(message).value();
    if (what == 1) {
      const auto position = input.byte() % sealed.size();
      const auto change = input.byte();
      sealed[position] ^= change;
      return deliver(sealed, change == 0 ? std::optional(message) : std::nullopt);
    }
    missed = missed || what == 2;
    if (what != 2) deliver(sealed, message);
    if (what == 3) deliver(sealed, std::nullopt);
  }

 private:
  void deliver(ByteView sealed, std::optional<Bytes> expected) {
    if (over || missed) expected.reset();
    over = over || !expected;
    if (receiver.open(sealed) != expected || receiver.seal({}).has_value() == over) {
      fatalError("a message was opened that was not the next, or the next was not");
    }
  }

  SealedChannel sender{secret, transcript, Party::supporter};
  SealedChannel receiver{secret, transcript, Party::customer};
  bool missed = false;
  bool over = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  FuzzInput input(data, size);
  Wire wire;
  while (!input.empty()) wire.step(input);
  return 0;
}
