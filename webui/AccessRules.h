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

// Whose page it is. The customer's and the supporter's are at an address each; a guest's is on
// another computer, and comes by way of a customer's page.
enum class PageRole : std::uint8_t { customer, supporter, guest };

// A supporter on another computer, by a number that is new for each.
using RemoteId = std::uint32_t;

struct PageOwner {
  PageRole role = PageRole::supporter;
  RemoteId remote = 0;  // a guest's
};

// The secrets in the addresses. Whoever knows the customer's may allow and stop sharing, and has
// the supporter's as well; the supporter's leads nowhere else.
struct PageTokens {
  std::string customer = makeToken();
  std::string supporter = makeToken();
};

// Who may talk to the local web server. It listens on the loopback interface only, but other
// users of the machine and every page in the user's browser can reach that too: the secret in the
// path keeps out the first, the Host and Origin headers (names that a foreign page cannot forge,
// even with a name that resolves to this machine) the second. The number 127.0.0.1 is the only name
// it goes by: "localhost" may lead to ::1, where the same port can be somebody else's.
class AccessRules {
 public:
  // The name of every page's WebSocket.
  static constexpr std::string_view webSocket = "ws";

  // What a path asks for, and as whom: `name` is "" for the role's page itself. A guest has a
  // WebSocket only, "guest-<number>" behind the customer's token.
  struct Resource : PageOwner {
    std::string name;
  };

  // `place` is the address of the page of supporters on other computers, beside which the
  // customer's page may read more, or empty.
  explicit AccessRules(std::uint16_t port, std::string_view place = {}, PageTokens tokens = {});

  [[nodiscard]] bool hostAllowed(std::string_view hostHeader) const;
  [[nodiscard]] bool originAllowed(std::string_view originHeader) const;
  // Nothing if the path does not begin with a right token; "/<token>" alone gives nothing as well.
  [[nodiscard]] std::optional<Resource> resourceOf(std::string_view path) const;

  // The address of the customer's or the supporter's page.
  [[nodiscard]] std::string address(PageRole role) const;
  // The value of the Content-Security-Policy header.
  [[nodiscard]] std::string contentPolicy() const;

 private:
  std::string host;
  std::string placeOrigin;
  PageTokens tokens;
};

}  // namespace quorvin::webui
