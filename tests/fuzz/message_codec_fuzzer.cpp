// Any bytes are either no message or a value. What is a value can be written again, and then
// reads and writes the same for good. Bytes are compared rather than values: NaN is unequal to
// itself.

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/Fatal.h"
#include "platform/flutter/StandardCodec.h"

using namespace quorvin;  // NOLINT: a program of one file

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {  // NOLINT
  Value value;
  try {
    value = decodeMessage({data, size});
  } catch (const CodecError&) {
    return 0;
  }
  const Bytes written = encodeMessage(value);
  const Value again = decodeMessage(written);
  if (encodeMessage(again) != written) fatalError("a message changes when it is written again");
  if (value == value && again != value) fatalError("a value is not read back as it was");
  return 0;
}
