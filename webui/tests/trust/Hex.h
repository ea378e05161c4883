#pragma once

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "webui/trust/Secret.h"

namespace quorvin::webui {

inline Bytes fromHex(std::string_view text) {
  Bytes bytes(text.size() / 2);
  std::size_t length = 0;
  sodium_hex2bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length, nullptr);
  bytes.resize(length);
  return bytes;
}
inline std::string toHex(ByteView bytes) {
  std::string text(bytes.size() * 2 + 1, '\0');
  sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
  text.pop_back();
  return text;
}
inline std::string base64Url(ByteView bytes) {
  std::string text(2 * bytes.size() + 1, '\0');
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                    sodium_base64_VARIANT_URLSAFE_NO_PADDING);
  return text.c_str();
}
inline std::string textOf(ByteView bytes) {
  return {bytes.begin(), bytes.end()};
}

// Gives these bytes, and zeros from then on.
class GivenBytes {
 public:
  explicit GivenBytes(Bytes bytes) : left(std::move(bytes)) {}

  void operator()(std::span<std::uint8_t> wanted) {
    left.resize(std::max(left.size(), wanted.size()));
    std::copy_n(left.begin(), wanted.size(), wanted.begin());
    left.erase(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(wanted.size()));
  }

 private:
  Bytes left;
};

inline void systemRandom(std::span<std::uint8_t> wanted) {
  randombytes_buf(wanted.data(), wanted.size());
}

inline nlohmann::json readVectors(const std::string& name) {
  std::ifstream file(std::string(QUORVIN_VECTORS) + "/" + name);
  return nlohmann::json::parse(file);
}

}  // namespace quorvin::webui
