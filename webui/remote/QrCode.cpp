#include "webui/remote/QrCode.h"

#include <qrencode.h>

#include <cstddef>
#include <memory>

namespace quorvin::webui {

std::vector<std::string> qrRows(const std::string& text) {
  // The smallest version that holds it, of which a seventh may be unreadable.
  const std::unique_ptr<QRcode, decltype(&QRcode_free)> code(
      QRcode_encodeString8bit(text.c_str(), 0, QR_ECLEVEL_M), QRcode_free);
  if (!code) return {};
  std::vector<std::string> rows;
  const auto width = static_cast<std::size_t>(code->width);
  for (std::size_t row = 0; row < width; ++row) {
    auto& modules = rows.emplace_back();
    // The lowest bit is the colour, the others say what a module is for.
    for (std::size_t column = 0; column < width; ++column) {
      modules += (code->data[row * width + column] & 1U) != 0 ? '1' : '0';
    }
  }
  return rows;
}

}  // namespace quorvin::webui
