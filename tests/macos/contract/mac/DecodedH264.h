#pragma once

#include <cstdint>
#include <vector>

#include "tests/contract/DecodedFrame.h"

namespace quorvin::contract {

// What Video Toolbox makes of an Annex-B byte stream (ITU-T H.264) that begins with its two
// parameter sets and holds one frame. Start codes are four bytes long. Throws std::runtime_error
// when there is no frame in it.
DecodedFrame decodeH264(const std::vector<std::uint8_t>& byteStream);

}  // namespace quorvin::contract
