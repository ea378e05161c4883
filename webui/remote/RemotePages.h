#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <variant>

#include "webui/AccessRules.h"
#include "webui/trust/Invitation.h"

namespace quorvin::webui {

// What a customer's page says about supporters on other computers; webui/PageMessage.h has the
// texts.
struct RemoteInvite {};
struct RemoteAnswer {
  RemoteId remote = 0;
  Invitation::Answer answer = Invitation::Answer::refuse;
};
struct RemoteSignal {
  RemoteId remote = 0;
  std::string signal;  // JSON
};
struct RemotePath {
  RemoteId remote = 0;
  std::string path;
};
struct RemoteLost {
  RemoteId remote = 0;
};
struct RemoteControl {
  RemoteId remote = 0;
  bool given = false;
};
struct RemoteEnd {
  RemoteId remote = 0;
};
struct RemoteStopAll {};
struct RemoteLog {};
struct RemoteFront {
  bool inFront = false;
};
using RemoteMessage = std::variant<RemoteInvite, RemoteAnswer, RemoteSignal, RemotePath, RemoteLost,
                                   RemoteControl, RemoteEnd, RemoteStopAll, RemoteLog, RemoteFront>;

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
