#pragma once

#include <cstdint>
#include <vector>

#include "tests/contract/DecodedPicture.h"

namespace quorvin::contract {

// What Video Toolbox makes of an Annex-B byte stream (ITU-T H.264) that begins with its two
// parameter sets and holds one picture. Start codes are four bytes long. Throws std::runtime_error
// when there is no picture in it.
DecodedPicture decodeH264(const std::vector<std::uint8_t>& byteStream);

}  // namespace quorvin::contract
