#include "webui/trust/Messages.h"

#include <glib.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace quorvin::webui {

namespace {

constexpr std::size_t headBytes = 2 + std::tuple_size_v<Nonce>;
constexpr long nameCharactersMax = 64;

// The text is UTF-8.
std::string cleanName(const std::string& text) {
  std::string name;
  bool spaceBefore = false;
  for (const char* at = text.c_str(); at < text.c_str() + text.size(); at = g_utf8_next_char(at)) {
    const auto type = g_unichar_type(g_utf8_get_char(at));
    if (type == G_UNICODE_SPACE_SEPARATOR) {
      spaceBefore = !name.empty();
    } else if (type != G_UNICODE_CONTROL && type != G_UNICODE_FORMAT &&
               type != G_UNICODE_LINE_SEPARATOR && type != G_UNICODE_PARAGRAPH_SEPARATOR) {
      if (std::exchange(spaceBefore, false)) name += ' ';
      name.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
    }
  }
  return name;
}

bool readOpening(const std::string& text, Nonce& opening) {
  std::size_t length = 0;
  return sodium_base642bin(opening.data(), opening.size(), text.data(), text.size(), nullptr,
                           &length, nullptr, sodium_base64_VARIANT_URLSAFE_NO_PADDING) == 0 &&
         length == opening.size();
}

}  // namespace

std::string idText(const ClientId& id) {
  std::string text(2 * id.size() + 1, '\0');
  sodium_bin2hex(text.data(), text.size(), id.data(), id.size());
  text.pop_back();  // the zero that ends it
  return text;
}

Sid sidOf(const ClientId& id) {
  const auto text = idText(id);
  std::array<std::uint8_t, crypto_hash_sha256_BYTES> hash{};
  crypto_hash_sha256(hash.data(), bytesOf(text).data(), text.size());
  Sid sid{};
  std::copy_n(hash.begin(), sid.size(), sid.begin());
  return sid;
}

std::optional<Envelope> readEnvelope(ByteView bytes) {
  if (bytes.size() < headBytes) return std::nullopt;
  Envelope envelope{bytes[0], static_cast<Kind>(bytes[1]), {}, bytes.subspan(headBytes)};
  std::ranges::copy(bytes.subspan(2, envelope.nonce.size()), envelope.nonce.begin());
  return envelope;
}

Bytes writeEnvelope(Kind kind, const Nonce& nonce, ByteView rest) {
  return joined({Bytes{envelopeVersion, static_cast<std::uint8_t>(kind)}, nonce, rest});
}

std::optional<Hello> readHello(ByteView message) {
  const auto json = nlohmann::json::parse(message.begin(), message.end(), nullptr, false);
  const auto text = [&](const char* key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_string() ? found->get<std::string>() : std::string();
  };
  Hello hello{cleanName(text("name"))};
  const auto characters = g_utf8_strlen(hello.name.c_str(), -1);
  const bool isHello = text("type") == "hello" && readOpening(text("opening"), hello.opening) &&
                       characters > 0 && characters <= nameCharactersMax;
  return isHello ? std::optional(hello) : std::nullopt;
}

}  // namespace quorvin::webui
