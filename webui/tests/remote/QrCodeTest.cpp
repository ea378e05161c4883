#include <gtest/gtest.h>
#include <zbar.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "webui/remote/QrCode.h"

namespace quorvin::webui {
namespace {

using namespace zbar;

constexpr std::size_t modulePixels = 4;
constexpr std::size_t borderModules = 4;

// What somebody else's reader makes of it.
std::string read(const std::vector<std::string>& rows) {
  const auto side = (rows.size() + 2 * borderModules) * modulePixels;
  std::string pixels(side * side, '\xff');
  for (std::size_t y = 0; y < rows.size() * modulePixels; ++y) {
    for (std::size_t x = 0; x < rows.size() * modulePixels; ++x) {
      const auto corner = borderModules * modulePixels;
      const bool dark = rows.at(y / modulePixels).at(x / modulePixels) == '1';
      if (dark) pixels[(y + corner) * side + x + corner] = '\0';
    }
  }
  const std::unique_ptr<zbar_image_scanner_t, decltype(&zbar_image_scanner_destroy)> scanner(
      zbar_image_scanner_create(), zbar_image_scanner_destroy);
  const std::unique_ptr<zbar_image_t, decltype(&zbar_image_destroy)> image(zbar_image_create(),
                                                                           zbar_image_destroy);
  zbar_image_set_format(image.get(), 0x30303859);  // "Y800", a byte of grey for each pixel
  zbar_image_set_size(image.get(), static_cast<unsigned>(side), static_cast<unsigned>(side));
  zbar_image_set_data(image.get(), pixels.data(), pixels.size(), nullptr);
  if (zbar_scan_image(scanner.get(), image.get()) != 1) return "";
  return zbar_symbol_get_data(zbar_image_first_symbol(image.get()));
}

TEST(QrCode, AReaderFindsTheLink) {
  const std::string link =
      "https://help.example.org/#1.AAECAwQFBgcICQoLDA0ODw."
      "EBESExQVFhcYGRobHB0eHyAhIiMkJSYnKCkqKywtLi8";
  const auto rows = qrRows(link);
  ASSERT_FALSE(rows.empty());
  for (const auto& row : rows) EXPECT_EQ(row.size(), rows.size());
  EXPECT_EQ(read(rows), link);
}

TEST(QrCode, ATextThatIsTooLongGivesNone) {
  EXPECT_TRUE(qrRows(std::string(3000, 'x')).empty());
}

}  // namespace
}  // namespace quorvin::webui
