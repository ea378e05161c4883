#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "webui/AccessRules.h"
#include "webui/trust/Invitation.h"

namespace quorvin::webui {

// What a customer's page says about supporters on other computers; webui/PageMessage.h has the
// texts.
struct RemoteMessage {
  enum class What { invite, stopAll, log, front, answer, control, end, signal, path, lost };

  What what;
  RemoteId remote = 0;  // from `answer` on
  Invitation::Answer answer = Invitation::Answer::refuse;
  bool is = false;     // of `front` and `control`
  std::string text{};  // of `signal`, as JSON, and `path`

  friend bool operator==(const RemoteMessage&, const RemoteMessage&) = default;
};

// Whether it is what one end of a peer connection says to the other: {"description":{...}} or
// {"candidate":{...} or null}, with nothing nested any deeper.
[[nodiscard]] bool isSignal(const nlohmann::json& message);

using PageId = std::uint64_t;

// The customer's pages, and the pages of supporters on other computers. On the main loop's thread.
class RemotePages {
 public:
  // Of customers' pages only.
  struct Handlers {
    std::function<void(PageId)> onOpened;
    std::function<void(PageId)> onClosed;
    std::function<void(PageId, const RemoteMessage&)> onMessage;
  };

  RemotePages() = default;
  RemotePages(const RemotePages&) = delete;
  RemotePages& operator=(const RemotePages&) = delete;
  virtual ~RemotePages() = default;

  virtual void watchCustomers(Handlers handlers) = 0;
  virtual void sendText(PageId customer, const std::string& text) = 0;
  // Lets a guest's page in, of which the newest counts; `control` is whether it may use mouse and
  // keyboard while supporters may at all. Called again when that changes.
  virtual void admit(RemoteId guest, bool control) = 0;
  // Puts the guest's page out.
  virtual void dismiss(RemoteId guest) = 0;
};

}  // namespace quorvin::webui
