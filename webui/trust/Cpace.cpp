#include "webui/trust/Cpace.h"

#include <algorithm>
#include <stdexcept>

namespace quorvin::webui {

namespace {

constexpr std::string_view groupName = "CPaceRistretto255";
constexpr std::array<std::uint8_t, 128> zeros{};  // as many as SHA-512 takes at once

// SHA-512 of texts, each with its length in front (lv_cat in the draft).
Secret<64> hashOfTexts(std::initializer_list<ByteView> texts) {
  crypto_hash_sha512_state state;
  crypto_hash_sha512_init(&state);
  for (const auto text : texts) {
    Bytes length;  // LEB128: seven bits a byte, the lowest first, all but the last byte marked
    std::size_t rest = text.size();
    for (; rest >= 128; rest >>= 7U) length.push_back(static_cast<std::uint8_t>(128U | rest));
    length.push_back(static_cast<std::uint8_t>(rest));
    crypto_hash_sha512_update(&state, length.data(), length.size());
    crypto_hash_sha512_update(&state, text.data(), text.size());
  }
  Secret<64> hash;
  crypto_hash_sha512_final(&state, hash.bytes().data());
  sodium_memzero(&state, sizeof state);
  return hash;
}

}  // namespace

CpaceElement cpaceGenerator(const CpaceInputs& inputs) {
  // What comes behind the padding begins a block of its own, however long the password is. Lengths
  // below 128 take one byte, and longer passwords no padding.
  const auto before = std::min(inputs.password.size() + groupName.size() + 3, zeros.size());
  const auto hash = hashOfTexts({bytesOf(groupName), inputs.password,
                                 ByteView(zeros).subspan(before), inputs.channel, inputs.session});
  CpaceElement generator{};
  crypto_core_ristretto255_from_hash(generator.data(), hash.bytes().data());
  return generator;
}

std::optional<Secret<32>> scalarMultVfy(const Secret<32>& scalar, const CpaceElement& element) {
  // libsodium 1.0.18 overlooks the highest bit, which a canonical encoding has not. The rest it
  // refuses itself, and the identity as the product too.
  const bool highest = (element.back() & 0x80U) != 0;
  Secret<32> product;
  if (highest || crypto_scalarmult_ristretto255(product.bytes().data(), scalar.bytes().data(),
                                                element.data()) != 0) {
    return std::nullopt;
  }
  return product;
}

Cpace::Cpace(const CpaceInputs& inputs, const RandomBytes& random)
    : session(joined({inputs.session})) {
  random(scalar.bytes());
  scalar.bytes().back() &= 0x0FU;  // 252 bits, as the draft recommends
  const auto product = scalarMultVfy(scalar, cpaceGenerator(inputs));
  if (!product) throw std::runtime_error("the random bytes for a key exchange are none");
  std::ranges::copy(product->bytes(), ourShare.begin());
}

std::optional<Secret<64>> Cpace::key(CpaceRole ours, ByteView ourData,
                                     const CpaceElement& theirShare, ByteView theirData) const {
  const auto product = scalarMultVfy(scalar, theirShare);
  if (!product) return std::nullopt;
  const auto name = bytesOf("CPaceRistretto255_ISK");
  if (ours == CpaceRole::initiator) {
    return hashOfTexts({name, session, product->bytes(), ourShare, ourData, theirShare, theirData});
  }
  return hashOfTexts({name, session, product->bytes(), theirShare, theirData, ourShare, ourData});
}

}  // namespace quorvin::webui
