#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/Flutter.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"
#include "webui/AccessRules.h"
#include "webui/FrameFlowControl.h"
#include "webui/HostClient.h"
#include "webui/PageConnection.h"
#include "webui/PageMessage.h"
#include "webui/Report.h"
#include "webui/SessionTracker.h"
#include "webui/delta/FrameDelta.h"
#include "webui/remote/PictureRate.h"
#include "webui/remote/RemotePages.h"

namespace quorvin::webui {

// The keys and buttons that are down on the host because of what one page has sent.
class HeldInput {
 public:
  // To be told of each call that goes to the host, and of each that the host has carried out.
  void sent(const FlutterMethodCall& call);
  void done(const FlutterMethodCall& call);

  // Whether something may be down, of what was sent.
  [[nodiscard]] bool mayHold() const { return mayHoldInput; }
  // Whether something is, of what was carried out.
  [[nodiscard]] bool holds() const { return !keys.empty() || !buttons.empty(); }
  // The events that lift that.
  [[nodiscard]] List lifts() const;

 private:
  bool mayHoldInput = false;
  List keys;
  List buttons;
  Value x;  // of the last event with the mouse
  Value y;
};

// Connects the pages with the host: passes calls and answers on, shares frames and the state of
// the session out to every page, lifts what a page that goes away has left pressed, and ends a
// session whose customer can no longer press Stop. What a supporter's and a guest's page may do is
// decided here, whatever their scripts send. On the main loop's thread.
class SessionHub : public RemotePages {
 public:
  // A session goes on for so long with no page that offers its Stop button: enough to reload one.
  static constexpr std::chrono::milliseconds customerAbsenceMax{10'000};
  // It takes up to two intervals to notice that a page's script no longer works.
  static_assert(customerAbsenceMax + 2 * PageConnection::questionInterval <
                std::chrono::seconds(15));

  // Takes over the UI link. `onLinkClosed` as in HostClient.
  SessionHub(FileDescriptor linkSocket, HostClient::CloseHandler onLinkClosed,
             std::chrono::milliseconds absenceMax = customerAbsenceMax,
             std::chrono::milliseconds questionInterval = PageConnection::questionInterval,
             PictureRate::Timing timing = {});

  void addPage(std::unique_ptr<WebSocket> socket, const PageOwner& owner);

  void watchCustomers(Handlers handlers) override { customers = std::move(handlers); }
  void sendText(PageId customer, const std::string& text) override;
  void admit(RemoteId guest, bool control) override;
  void dismiss(RemoteId guest) override;

  // Asks the host whether it runs unattended; `onAnswer` gets false as well when it cannot say.
  void askWhetherUnattended(std::function<void(bool)> onAnswer);

  // What customers' pages can ask for. The host's errors are in it, and its names are hidden.
  [[nodiscard]] Report& report() { return helpReport; }

 private:
  struct Page {
    PageOwner owner;
    std::unique_ptr<PageConnection> connection;
    std::string announcedState;
    std::unique_ptr<PictureRate::Guest> rate;  // of a guest's page
    int toldSteps = 0;
    FrameFlowControl flowControl;
    FrameDeltas deltas;
    PageVisibility visibility;
    HeldInput heldInput;
    std::size_t unansweredCalls = 0;
  };

  void removePage(PageId id);
  void removePageOf(RemoteId guest);
  // Nothing when there is a place for it.
  [[nodiscard]] const char* reasonAgainst(const PageOwner& owner) const;
  void handleText(PageId id, std::string_view text);
  void handle(PageId id, const PageCall& message);
  void handle(PageId id, const PageAcknowledgement& message);
  void handle(PageId id, const PageVisibility& message);
  void handle(PageId id, const PageAnswer& message);
  void handle(PageId id, const PageWholeFrame& message);
  void handle(PageId id, const PageReport& message);
  void handle(PageId id, const PageControl& message);
  void handle(PageId id, const RemoteMessage& message);
  void handle(PageId id, const PageProtocolError& message);

  // Nothing when the page has the right to make the call.
  [[nodiscard]] std::optional<FlutterError> refusalOf(const Page& page,
                                                      const FlutterMethodCall& call) const;
  void note(const FlutterError& error);
  void callHost(const FlutterMethodCall& call, FlutterResult onReply);
  void start(const FlutterMethodCall& call, FlutterResult onReply);
  void stop(std::optional<FlutterError> why, FlutterResult onReply);
  void configure(const FlutterMethodCall& call, FlutterResult onReply);
  void answer(PageId id, const PageCall& message, const FlutterReply& reply);

  void handleFrame(Data payload);
  void handleStreamError(const FlutterError& error);
  void offer(Page& page, const Frame& frame);
  void sendFrame(Page& page, const Frame& frame);
  void sendDue(PageId id);
  void addRate(Page& page, PageId id);
  // Asks the host for what guests' rates allow, and tells guests of it.
  void reviewRates();
  // Null when the payload has none. Found once for all pages that a frame goes to, and not for one
  // that goes to none.
  [[nodiscard]] std::shared_ptr<const SegmentedJpeg> segmentsOf(const Data& payload);

  // Lifts what the page holds, and nothing that others do, if that is known.
  void releaseInput(Page& page);
  void releaseWhatIsNotAllowed();
  // Whether the customer lets this page use mouse and keyboard.
  [[nodiscard]] bool hasControl(const Page& page) const;
  [[nodiscard]] bool mayInject(const Page& page) const;
  [[nodiscard]] bool inputTaken() const;

  void sessionChanged();
  void announceState();
  void reviewListening();
  void reviewAbsence();
  [[nodiscard]] bool stopButtonShown() const;

  std::chrono::milliseconds absenceLimit;
  std::chrono::milliseconds questionInterval;
  SessionTracker session;
  PictureRate rates;
  Value askedSettings = PictureRate::hostDefaults();  // of the host, last in this session
  std::map<PageId, Page> pages;
  Handlers customers;
  PageId lastPageId = 0;
  std::optional<Frame> newestFrame;  // of the running session, for pages that come later
  std::shared_ptr<const SegmentedJpeg> newestSegments;  // that were found last
  bool controlAllowed = true;         // for all supporters' pages, by the customer
  std::map<RemoteId, bool> admitted;  // guests, and whether control was given to each
  bool listening = false;
  Report helpReport;
  MainLoopSource absence;
  HostClient host;  // last, so that nothing it calls has gone before it
};

}  // namespace quorvin::webui
