#pragma once

#include <string>
#include <vector>

namespace quorvin::webui {

// The modules of a QR code (ISO/IEC 18004) with this text, row by row, "1" for dark and "0" for
// light, without the light border that it needs around it. Empty for a text that no code holds.
[[nodiscard]] std::vector<std::string> qrRows(const std::string& text);

}  // namespace quorvin::webui
