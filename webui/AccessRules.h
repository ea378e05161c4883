#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvin::webui {

// 128 random bits from the system, as 32 hexadecimal digits. Throws std::runtime_error when the
// system has none to give.
[[nodiscard]] std::string makeToken();

// Takes the same time for every text of the right length.
[[nodiscard]] bool equalInConstantTime(std::string_view given, std::string_view expected);

// Who may talk to the local web server. It listens on the loopback interface only, but other
// users of the machine and every page in the user's browser can reach that too: the secret in the
// path keeps out the first, the Host and Origin headers (names that a foreign page cannot forge,
// even with a name that resolves to this machine) the second. The number 127.0.0.1 is the only name
// it goes by: "localhost" may lead to ::1, where the same port can be somebody else's.
class AccessRules {
 public:
  AccessRules(std::uint16_t port, std::string token);

  [[nodiscard]] bool hostAllowed(std::string_view hostHeader) const;
  [[nodiscard]] bool originAllowed(std::string_view originHeader) const;
  // What follows the token and its slash: "" for the page itself. Nothing if the path does not
  // begin with the right token; "/<token>" alone gives nothing as well.
  [[nodiscard]] std::optional<std::string> resourceOf(std::string_view path) const;

  // The page's address.
  [[nodiscard]] std::string address() const;
  // The value of the Content-Security-Policy header.
  [[nodiscard]] std::string contentPolicy() const;

 private:
  std::string host;
  std::string token;
};

}  // namespace quorvin::webui
