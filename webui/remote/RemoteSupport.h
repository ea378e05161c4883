#pragma once

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/unix/MainLoopSource.h"
#include "webui/remote/RemoteConfig.h"
#include "webui/remote/RemotePages.h"
#include "webui/remote/SessionLog.h"
#include "webui/remote/Signalling.h"

namespace quorvin::webui {

// Supporters on other computers: makes the invitations that the customer's pages ask for, asks the
// customer, carries signals between the page that has the peer connection and the supporter, and
// says to the pages whose guests are let in, with what rights. Nothing that a supporter sends
// changes these. On the main loop's thread.
class RemoteSupport {
 public:
  static constexpr std::size_t sessionsMax = 4;
  // Whatever is over stays in sight for so long, or until the next invitation; a supporter who
  // comes late is told why it is over.
  static constexpr std::chrono::minutes overShownFor{1};
  // Before the next guest of the device: what was said to this one still goes out.
  static constexpr std::chrono::seconds deviceRest{1};
  // At so many places that are taken, an invitation does without a code.
  static constexpr int placesMax = 8;
  // Between two connections; a browser sends a few dozen.
  static constexpr int signalsMax = 500;

  // All that is referred to lives longer.
  struct Outside {
    RemotePages& pages;
    Signalling* signalling;  // null: there is nothing to reach supporters by
    SessionLog& log;
    // For a customer who looks at no page: a title and a text.
    std::function<void(const std::string&, const std::string&)> notify;
    RandomBytes random;
    std::function<Invitation::Time()> now;
  };

  // `problem` says why there is no configuration, if there ought to be one. The libraries that seal
  // are ready from then on, so that the program needs no more files for them.
  RemoteSupport(Outside outside, std::optional<RemoteConfig> config, std::string problem = {});
  RemoteSupport(const RemoteSupport&) = delete;
  RemoteSupport& operator=(const RemoteSupport&) = delete;
  // Tells those who are connected.
  ~RemoteSupport();

  void stopAll();
  // Lets in whoever has the link, with control and without a question, one at a time and for as
  // long as this lives. In the place of the link before, whose guest goes.
  void openTo(Invitation::DeviceLink link);
  // Called by a timer of its own; when nothing is due it does nothing.
  void timePassed();

 private:
  using Stage = Invitation::Stage;
  struct Session {
    explicit Session(Invitation made, bool isOfDevice = false)
        : invitation(std::move(made)), isOfDevice(isOfDevice) {}

    Invitation invitation;
    bool isOfDevice;
    std::unique_ptr<SignallingPlace> place;
    Stage stage = Stage::waiting;  // that everybody has been told
    bool listening = false;
    int placesTaken = 0;
    std::string name;
    nlohmann::json words;
    bool control = false;
    std::string path;  // of the peer connection; empty: none
    bool wasConnected = false;
    int signals = 0;
    std::optional<PageId> carrier;
    std::optional<Invitation::Time> since;       // when it was allowed
    std::optional<Invitation::Time> aloneSince;  // without a carrier
    std::optional<Invitation::Time> overSince;
  };

  void handle(PageId page, const RemoteMessage& message);
  void invite();
  void answer(PageId page, RemoteId id, Invitation::Answer given);
  void setControl(RemoteId id, bool given);
  void setPath(RemoteId id, const std::string& path);
  void addCustomer(PageId page);
  void removeCustomer(PageId page);

  void listen(RemoteId id);
  void reachChanged(RemoteId id, Reach reach, std::string detail);
  void tryAnotherPlace(RemoteId id);
  void receive(RemoteId id, ByteView envelope);
  void supporterGone(RemoteId id);
  void awaitDeviceGuest();
  void admitToDevice(RemoteId id);
  void handleSupporter(RemoteId id, ByteView message);

  // Null when there is none, or it is over.
  [[nodiscard]] Session* find(RemoteId id);
  void carryOut(RemoteId id, const Invitation::Effects& effects, std::string_view why = {});
  void enter(RemoteId id, Stage stage, std::string_view why);
  void end(RemoteId id, std::string_view why);
  static void tell(Session& session, std::string_view message);
  void record(std::string_view event, RemoteId id, std::string_view why = {});
  void notify(const std::string& title, const std::string& text);

  void announce();
  void announceTo(PageId page);
  [[nodiscard]] nlohmann::json describe(RemoteId id, const Session& session, PageId page) const;
  void forgetWhatIsOver(std::chrono::milliseconds shownFor);
  [[nodiscard]] static std::chrono::milliseconds restOf(const Session& session);
  [[nodiscard]] static std::optional<Invitation::Time> deadlineOf(const Session& session);
  void schedule();

  Outside outside;
  std::optional<RemoteConfig> config;
  nlohmann::json problem;  // null, or its name
  std::string problemDetail;
  std::optional<Invitation::DeviceLink> device;
  std::map<RemoteId, Session> sessions;
  RemoteId lastId = 0;
  std::set<PageId> customers;
  std::set<PageId> inFront;
  MainLoopSource timer;
};

}  // namespace quorvin::webui
