#include "webui/AccessRules.h"

#include <sys/random.h>

#include <array>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace quorvin::webui {

namespace {

constexpr std::size_t tokenBytes = 16;
constexpr std::string_view scheme = "http://";

// Of an address with a path. Nothing for what a policy would read as more than one source.
std::string_view originOf(std::string_view address) {
  const auto hostBegin = address.find("://") + 3;
  const auto origin = address.substr(0, address.find('/', hostBegin));
  const auto usual = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.:/[]-_";
  return origin.find_first_not_of(usual) == std::string_view::npos ? origin : std::string_view();
}
constexpr std::string_view guestPrefix = "guest-";

// There is one way only to write each number.
std::optional<RemoteId> guestOf(std::string_view name) {
  if (!name.starts_with(guestPrefix)) return std::nullopt;
  name.remove_prefix(guestPrefix.size());
  RemoteId id = 0;
  const auto read = std::from_chars(name.data(), name.data() + name.size(), id);
  return read.ec == std::errc() && std::to_string(id) == name ? std::optional(id) : std::nullopt;
}

}  // namespace

std::string makeToken() {
  std::array<unsigned char, tokenBytes> random{};
  // Requests of up to 256 bytes are never cut short
  // (https://man7.org/linux/man-pages/man2/getrandom.2.html).
  if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
    throw std::runtime_error("the system has no random numbers");
  }
  constexpr std::string_view digits = "0123456789abcdef";
  std::string token;
  for (const auto byte : random) {
    token += digits[byte >> 4U];
    token += digits[byte & 0x0FU];
  }
  return token;
}

bool equalInConstantTime(std::string_view given, std::string_view expected) {
  if (given.size() != expected.size()) return false;
  unsigned difference = 0;
  for (std::size_t index = 0; index < given.size(); ++index) {
    difference |= static_cast<unsigned char>(given[index]) ^
                  static_cast<unsigned>(static_cast<unsigned char>(expected[index]));
  }
  return difference == 0;
}

AccessRules::AccessRules(std::uint16_t port, std::string_view place, PageTokens tokens)
    : host("127.0.0.1:" + std::to_string(port)),
      placeOrigin(originOf(place)),
      tokens(std::move(tokens)) {}

bool AccessRules::hostAllowed(std::string_view hostHeader) const {
  return hostHeader == host;
}

bool AccessRules::originAllowed(std::string_view originHeader) const {
  return originHeader.starts_with(scheme) && originHeader.substr(scheme.size()) == host;
}

std::optional<AccessRules::Resource> AccessRules::resourceOf(std::string_view path) const {
  if (!path.starts_with('/')) return std::nullopt;
  path.remove_prefix(1);
  const auto slash = path.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto token = path.substr(0, slash);
  const bool isCustomers = equalInConstantTime(token, tokens.customer);
  const bool isSupporters = equalInConstantTime(token, tokens.supporter);
  if (!isCustomers && !isSupporters) return std::nullopt;
  const auto name = path.substr(slash + 1);
  if (const auto guest = isCustomers ? guestOf(name) : std::nullopt) {
    return Resource{{PageRole::guest, *guest}, std::string(webSocket)};
  }
  return Resource{{isCustomers ? PageRole::customer : PageRole::supporter}, std::string(name)};
}

std::string AccessRules::address(PageRole role) const {
  const auto& token = role == PageRole::customer ? tokens.customer : tokens.supporter;
  return std::string(scheme) + host + "/" + token + "/";
}

std::string AccessRules::contentPolicy() const {
  return "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
         "connect-src 'self' ws://" +
         host + " " + placeOrigin + "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
}

}  // namespace quorvin::webui
