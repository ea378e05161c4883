#include "webui/SessionHub.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <variant>

namespace quorvin::webui {
namespace {

std::string textIn(const Map& event, std::string_view key, const char* otherwise) {
  const auto* value = event.find(key);
  const auto* text = value != nullptr ? value->as<std::string>() : nullptr;
  return text != nullptr ? *text : otherwise;
}

Value valueIn(const Map& event, std::string_view key) {
  const auto* value = event.find(key);
  return value != nullptr ? *value : Value();
}

// Nothing of another call.
std::string actionOf(const FlutterMethodCall& call) {
  const auto* event = call.arguments.as<Map>();
  return call.method == "injectInput" && event != nullptr ? textIn(*event, "action", "") : "";
}

void note(List& held, const Value& what, const std::string& action) {
  if (action.ends_with("Down") || action.ends_with("Up")) std::erase(held, what);
  if (action.ends_with("Down")) held.push_back(what);
}

constexpr std::size_t pagesMax = 8;
// Supporters leave room for a page with a Stop button.
constexpr std::ptrdiff_t supportersMax = 4;

constexpr std::array<std::string_view, 4> supportersMethods = {"capabilities", "configureStream",
                                                               "injectInput", "releaseInput"};

constexpr std::size_t unansweredCallsMax = 64;

std::int64_t ageMsOf(const Frame& frame) {
  const auto age = FrameClock::now() - frame.arrivedAt;
  return std::chrono::duration_cast<std::chrono::milliseconds>(age).count();
}

}  // namespace

void HeldInput::sent(const FlutterMethodCall& call) {
  mayHoldInput = mayHoldInput || actionOf(call).ends_with("Down");
}

void HeldInput::done(const FlutterMethodCall& call) {
  const auto action = actionOf(call);
  if (action.empty()) return;
  const auto& event = *call.arguments.as<Map>();
  if (action.starts_with("key")) note(keys, valueIn(event, "keyCode"), action);
  if (!action.starts_with("mouse")) return;
  note(buttons, textIn(event, "button", "left"), action);
  x = valueIn(event, "x");
  y = valueIn(event, "y");
}

List HeldInput::lifts() const {
  List events;
  for (const auto& button : buttons) {
    events.push_back(Map{{"action", "mouseUp"}, {"x", x}, {"y", y}, {"button", button}});
  }
  for (const auto& key : keys) events.push_back(Map{{"action", "keyUp"}, {"keyCode", key}});
  return events;
}

SessionHub::SessionHub(FileDescriptor linkSocket, HostClient::CloseHandler onLinkClosed,
                       std::chrono::milliseconds absenceMax,
                       std::chrono::milliseconds questionInterval, PictureRate::Timing timing)
    : absenceLimit(absenceMax),
      questionInterval(questionInterval),
      rates([this] { reviewRates(); }, std::move(timing)),
      host(std::move(linkSocket), {[this](Data payload) { handleFrame(std::move(payload)); },
                                   [this](const FlutterError& error) { handleStreamError(error); },
                                   std::move(onLinkClosed)}) {}

void SessionHub::askWhetherUnattended(std::function<void(bool)> onAnswer) {
  host.call(
      {"capabilities", {}}, [this, onAnswer = std::move(onAnswer)](const FlutterReply& reply) {
        const auto* value = std::get_if<Value>(&reply);
        const auto* capabilities = value != nullptr ? value->as<Map>() : nullptr;
        for (const char* key : {"deviceName", "unattendedName"}) {
          const auto* entry = capabilities != nullptr ? capabilities->find(key) : nullptr;
          const auto* name = entry != nullptr ? entry->as<std::string>() : nullptr;
          if (name != nullptr) helpReport.hide(*name);
        }
        const auto* entry = capabilities != nullptr ? capabilities->find("unattended") : nullptr;
        const auto* unattended = entry != nullptr ? entry->as<bool>() : nullptr;
        onAnswer(unattended != nullptr && *unattended);
      });
}

// --- Pages

const char* SessionHub::reasonAgainst(const PageOwner& owner) const {
  if (owner.role == PageRole::guest && !admitted.contains(owner.remote)) {
    return "no such guest is connected";
  }
  const auto supporters = std::ranges::count_if(
      pages, [](const auto& entry) { return entry.second.owner.role != PageRole::customer; });
  const bool isFull =
      pages.size() >= pagesMax || (owner.role != PageRole::customer && supporters >= supportersMax);
  return isFull ? "too many pages" : nullptr;
}

void SessionHub::addPage(std::unique_ptr<WebSocket> socket, const PageOwner& owner) {
  if (owner.role == PageRole::guest) removePageOf(owner.remote);
  if (const char* reason = reasonAgainst(owner)) {
    socket->close(WebSocket::CloseCode::policyViolation, reason);
    return;
  }
  const auto id = ++lastPageId;
  auto& page = pages[id];
  page.owner = owner;
  page.connection = std::make_unique<PageConnection>(
      std::move(socket),
      PageConnection::Handlers{[this, id](std::string_view text) { handleText(id, text); },
                               [this, id] {
                                 handle(id, PageProtocolError{std::nullopt, "A message is text."});
                               },
                               [this] { reviewAbsence(); },
                               [this, id] {
                                 removePage(id);
                               }},
      questionInterval);
  if (owner.role == PageRole::guest) addRate(page, id);
  announceState();
  reviewListening();
  if (owner.role == PageRole::customer && customers.onOpened) customers.onOpened(id);
}

void SessionHub::removePageOf(RemoteId guest) {
  const auto page = std::ranges::find_if(pages, [guest](const auto& entry) {
    return entry.second.owner.role == PageRole::guest && entry.second.owner.remote == guest;
  });
  if (page != pages.end()) removePage(page->first);
}

void SessionHub::admit(RemoteId guest, bool control) {
  admitted[guest] = control;
  releaseWhatIsNotAllowed();
  announceState();
}

void SessionHub::sendText(PageId customer, const std::string& text) {
  const auto page = pages.find(customer);
  if (page != pages.end()) page->second.connection->sendText(text);
}

void SessionHub::dismiss(RemoteId guest) {
  admitted.erase(guest);
  removePageOf(guest);
}

void SessionHub::removePage(PageId id) {
  const auto role = pages.at(id).owner.role;
  releaseInput(pages.at(id));
  pages.erase(id);
  reviewRates();
  announceState();
  reviewListening();
  reviewAbsence();
  if (role == PageRole::customer && customers.onClosed) customers.onClosed(id);
}

void SessionHub::handleText(PageId id, std::string_view text) {
  if (!pages.contains(id)) return;
  std::visit([&](const auto& message) { handle(id, message); }, parsePageMessage(text));
}

void SessionHub::handle(PageId id, const PageProtocolError& message) {
  pages.at(id).connection->sendText(protocolErrorText(message));
}

void SessionHub::handle(PageId id, const PageAnswer& message) {
  pages.at(id).connection->answered(message.word);
}

void SessionHub::handle(PageId id, const PageAcknowledgement& message) {
  auto& page = pages.at(id);
  if (page.rate) page.rate->acknowledged(message.count);
  if (const auto frame = page.flowControl.acknowledge(message.count)) sendFrame(page, *frame);
}

void SessionHub::handle(PageId id, const PageWholeFrame& /*message*/) {
  auto& page = pages.at(id);
  page.deltas.forget();
  if (page.visibility.picture && newestFrame) offer(page, *newestFrame);
}

void SessionHub::handle(PageId id, const PageVisibility& message) {
  auto& page = pages.at(id);
  const bool framesAppear = message.picture && !page.visibility.picture;
  page.visibility = message;
  if (page.owner.role != PageRole::customer) page.visibility.customer = false;
  if (!message.input) releaseInput(page);
  if (!message.picture) page.flowControl.dropWaiting();
  if (framesAppear && newestFrame) offer(page, *newestFrame);
  reviewRates();
  announceState();
  reviewAbsence();
}

void SessionHub::handle(PageId id, const PageReport& /*message*/) {
  if (pages.at(id).owner.role != PageRole::customer) {
    handle(id, PageProtocolError{std::nullopt, "This is for the customer's page.", "not_allowed"});
    return;
  }
  host.call({"permissions", {}}, [this, id](const FlutterReply& reply) {
    const auto* permissions = std::get_if<Value>(&reply);
    sendText(id, reportText(helpReport.text(permissions != nullptr ? *permissions : Value())));
  });
}

void SessionHub::handle(PageId id, const PageControl& message) {
  if (pages.at(id).owner.role != PageRole::customer) {
    handle(id,
           PageProtocolError{std::nullopt, "Control is the customer's to give.", "not_allowed"});
    return;
  }
  controlAllowed = message.allowed;
  releaseWhatIsNotAllowed();
  announceState();
}

void SessionHub::handle(PageId id, const RemoteMessage& message) {
  if (pages.at(id).owner.role != PageRole::customer) {
    handle(id, PageProtocolError{std::nullopt, "This is for the customer's page.", "not_allowed"});
  } else if (customers.onMessage) {
    customers.onMessage(id, message);
  }
}

// --- Calls

std::optional<FlutterError> SessionHub::refusalOf(const Page& page,
                                                  const FlutterMethodCall& call) const {
  if (page.owner.role != PageRole::customer &&
      std::ranges::find(supportersMethods, call.method) == supportersMethods.end()) {
    return FlutterError{"not_allowed", "Only the customer's page may do this.", {}};
  }
  // What the customer is told about mouse and keyboard holds for every page.
  if (call.method == "injectInput" && !mayInject(page)) {
    return FlutterError{"input_not_authorized", "This page only watches.", {}};
  }
  return std::nullopt;
}

void SessionHub::handle(PageId id, const PageCall& message) {
  auto& page = pages.at(id);
  if (page.unansweredCalls >= unansweredCallsMax) {
    handle(id, PageProtocolError{message.id, "Too many calls wait for their answers."});
    return;
  }
  if (const auto refusal = refusalOf(page, message.call)) {
    page.connection->sendText(replyText(message.id, *refusal));
    return;
  }
  if (message.call.method == "releaseInput") {
    releaseInput(page);
    page.connection->sendText(replyText(message.id, Value()));
    return;
  }
  page.heldInput.sent(message.call);
  ++page.unansweredCalls;
  callHost(message.call,
           [this, id, message](const FlutterReply& reply) { answer(id, message, reply); });
}

void SessionHub::answer(PageId id, const PageCall& message, const FlutterReply& reply) {
  if (const auto* error = std::get_if<FlutterError>(&reply)) note(*error);
  const auto page = pages.find(id);
  if (page == pages.end()) return;
  --page->second.unansweredCalls;
  if (std::holds_alternative<Value>(reply)) page->second.heldInput.done(message.call);
  page->second.connection->sendText(replyText(message.id, reply));
}

void SessionHub::note(const FlutterError& error) {
  helpReport.add(error.code, error.message.value_or(""));
}

void SessionHub::callHost(const FlutterMethodCall& call, FlutterResult onReply) {
  if (call.method == "startCapture") {
    start(call, std::move(onReply));
  } else if (call.method == "stopCapture") {
    stop(std::nullopt, std::move(onReply));
  } else if (call.method == "configureStream") {
    configure(call, std::move(onReply));
  } else {
    host.call(call, std::move(onReply));
  }
}

void SessionHub::start(const FlutterMethodCall& call, FlutterResult onReply) {
  const auto number = session.startSent();
  host.call(call, [this, number, onReply = std::move(onReply)](const FlutterReply& reply) {
    session.startReplied(number, reply);
    onReply(reply);
    sessionChanged();
  });
  sessionChanged();
}

void SessionHub::stop(std::optional<FlutterError> why, FlutterResult onReply) {
  const auto number = session.stopSent();
  host.call({"stopCapture", {}}, [this, number, why = std::move(why),
                                  onReply = std::move(onReply)](const FlutterReply& reply) {
    if (std::holds_alternative<Value>(reply)) session.stopReplied(number, why);
    onReply(reply);
    sessionChanged();
  });
}

void SessionHub::configure(const FlutterMethodCall& call, FlutterResult onReply) {
  const auto asked = rates.reduced(call.arguments);
  host.call({call.method, asked},
            [this, number = session.sessionNumber(), asked, settings = call.arguments,
             onReply = std::move(onReply)](const FlutterReply& reply) {
              if (std::holds_alternative<Value>(reply)) {
                session.settingsAccepted(number, settings);
                askedSettings = asked;
              }
              onReply(reply);
              sessionChanged();
            });
}

// --- Mouse and keyboard

void SessionHub::releaseInput(Page& page) {
  const auto held = std::exchange(page.heldInput, {});
  if (!held.mayHold()) return;
  const auto ignore = [](const FlutterReply&) {
  };
  const bool othersHold =
      std::ranges::any_of(pages, [](const auto& entry) { return entry.second.heldInput.holds(); });
  // The host would lift what they hold as well, but knows best what this page has pressed just now.
  if (!othersHold || page.unansweredCalls > 0) return host.call({"releaseInput", {}}, ignore);
  for (const auto& event : held.lifts()) host.call({"injectInput", event}, ignore);
}

void SessionHub::releaseWhatIsNotAllowed() {
  for (auto& [id, page] : pages) {
    if (!mayInject(page)) releaseInput(page);
  }
}

bool SessionHub::hasControl(const Page& page) const {
  return controlAllowed && (page.owner.role != PageRole::guest || admitted.at(page.owner.remote));
}

bool SessionHub::mayInject(const Page& page) const {
  return page.visibility.input && (page.owner.role == PageRole::customer || hasControl(page));
}

bool SessionHub::inputTaken() const {
  return std::ranges::any_of(pages, [this](const auto& entry) { return mayInject(entry.second); });
}

// --- Frames

void SessionHub::handleFrame(Data payload) {
  if (!session.active()) return;
  newestFrame = Frame{std::move(payload), FrameClock::now()};
  for (auto& [id, page] : pages) {
    if (page.visibility.picture) offer(page, *newestFrame);
  }
}

void SessionHub::offer(Page& page, const Frame& frame) {
  const auto next = page.flowControl.offer(frame);
  if (page.rate) page.rate->offered(!next);
  if (next) sendFrame(page, *next);
}

void SessionHub::sendFrame(Page& page, const Frame& frame) {
  if (const auto ageMs = ageMsOf(frame); ageMs > 0) page.connection->sendText(frameText(ageMs));
  const auto data = page.deltas.next(frame.payload, segmentsOf(frame.payload));
  if (page.rate) page.rate->sent(data.size(), frame.payload.size());
  page.connection->sendBinary(data);
}

void SessionHub::sendDue(PageId id) {
  auto& page = pages.at(id);
  if (const auto frame = page.flowControl.due()) {
    sendFrame(page, *frame);
  } else if (page.flowControl.frameWaits()) {
    page.rate->awaitOpening();
  }
}

void SessionHub::addRate(Page& page, PageId id) {
  page.rate = std::make_unique<PictureRate::Guest>(rates, [this, id] { sendDue(id); });
  page.flowControl = FrameFlowControl([rate = page.rate.get()] { return rate->open(); });
}

void SessionHub::reviewRates() {
  const bool mayBeVideo = std::ranges::all_of(pages, [](const auto& entry) {
    return !entry.second.visibility.picture || entry.second.visibility.h264;
  });
  rates.choose(session.settings(), mayBeVideo);
  for (auto& [id, page] : pages) {
    if (!page.rate || std::exchange(page.toldSteps, rates.steps()) == rates.steps()) continue;
    page.connection->sendText(reducedText(rates.steps()));
  }
  if (session.state() != SessionState::live) return;
  auto wanted = rates.reduced(session.settings());
  if (wanted == askedSettings) return;
  askedSettings = std::move(wanted);
  host.call({"configureStream", askedSettings}, [](const FlutterReply&) {});
}

std::shared_ptr<const SegmentedJpeg> SessionHub::segmentsOf(const Data& payload) {
  if (newestSegments && newestSegments->file().data() == payload.data()) return newestSegments;
  newestSegments = SegmentedJpeg::parse(payload, newestSegments);
  return newestSegments;
}

void SessionHub::handleStreamError(const FlutterError& error) {
  note(error);
  session.streamFailed(error);
  for (const auto& [id, page] : pages) page.connection->sendText(streamErrorText(error));
  sessionChanged();
}

// --- The session

void SessionHub::sessionChanged() {
  if (!session.active()) {
    askedSettings = PictureRate::hostDefaults();
    // A picture of a session that is over must not turn up in a page.
    newestFrame.reset();
    newestSegments.reset();
    for (auto& [id, page] : pages) {
      page.flowControl.dropWaiting();
      page.deltas.forget();
    }
  }
  reviewRates();
  announceState();
  reviewListening();
  reviewAbsence();
}

void SessionHub::announceState() {
  const bool input = inputTaken();
  for (auto& [id, page] : pages) {
    auto state = stateText(session, input, hasControl(page));
    if (state == page.announcedState) continue;
    page.announcedState = std::move(state);
    page.connection->sendText(page.announcedState);
  }
}

// Without a listener the host forgets why a session ended, so that this program listens for as
// long as one may be running, even with no page to show it.
void SessionHub::reviewListening() {
  const bool wanted = !pages.empty() || session.active();
  if (wanted == listening) return;
  listening = wanted;
  if (wanted) {
    host.listen([this](bool heard) { listening = listening && heard; });
  } else {
    host.cancel();
  }
}

bool SessionHub::stopButtonShown() const {
  return std::ranges::any_of(pages, [](const auto& entry) {
    return entry.second.visibility.customer && entry.second.connection->answering();
  });
}

void SessionHub::reviewAbsence() {
  if (!session.active() || stopButtonShown()) {
    absence.cancel();
  } else if (!absence.isActive()) {
    absence = MainLoopSource::onTimeout(
        nullptr, absenceLimit, MainLoopSource::once([this] {
          stop(FlutterError{"customer_absent", "No page was open to stop the session from.", {}},
               [](const FlutterReply&) {});
        }));
  }
}

}  // namespace quorvin::webui
