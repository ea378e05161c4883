#include "webui/remote/RemoteSupport.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "platform/unix/DesktopText.h"
#include "webui/remote/QrCode.h"

namespace quorvin::webui {

using nlohmann::json;
using std::chrono::milliseconds;

namespace {

bool isFlat(const json& object) {
  return object.is_object() &&
         std::ranges::all_of(object, [](const json& field) { return field.is_primitive(); });
}

std::string textOf(const json& message) {
  return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

json orNull(const std::string& text) {
  return text.empty() ? json(nullptr) : json(text);
}

bool isOver(Invitation::Stage stage) {
  return stage >= Invitation::Stage::expired;
}

constexpr std::array<std::string_view, 9> stageNames{"waiting", "asking",  "connected",
                                                     "lost",    "expired", "tooManyTries",
                                                     "refused", "gone",    "ended"};

std::string_view nameOf(Invitation::Stage stage) {
  return stageNames[static_cast<std::size_t>(stage)];
}

json nameOf(Reach reach) {
  if (reach == Reach::unreachable) return "unreachable";
  if (reach == Reach::certificateWrong) return "certificateWrong";
  return reach == Reach::refused ? json("refused") : json(nullptr);
}

void makeLibrariesReady() {
  const Secret<64> secret;
  (void)SealedChannel(secret.bytes(), {}, Party::customer).seal({});
}

}  // namespace

bool isSignal(const json& message) {
  if (!message.is_object() || message.size() != 1) return false;
  const auto content = message.begin();
  return (content.key() == "description" && isFlat(*content)) ||
         (content.key() == "candidate" && (content->is_null() || isFlat(*content)));
}

RemoteSupport::RemoteSupport(Outside givenOutside, std::optional<RemoteConfig> givenConfig,
                             std::string problem)
    : outside(std::move(givenOutside)),
      config(std::move(givenConfig)),
      problemDetail(std::move(problem)) {
  makeLibrariesReady();
  outside.pages.watchCustomers({[this](PageId page) { addCustomer(page); },
                                [this](PageId page) { removeCustomer(page); },
                                [this](PageId page, const RemoteMessage& message) {
                                  handle(page, message);
                                }});
}

RemoteSupport::~RemoteSupport() {
  for (auto& [id, session] : sessions) {
    if (session.stage != Stage::connected) continue;
    tell(session, R"({"type":"ended","why":"gone"})");
    record("ended", id, "gone");
  }
}

// --- The customer's pages

void RemoteSupport::addCustomer(PageId page) {
  customers.insert(page);
  for (auto& [id, session] : sessions) {
    if (!session.aloneSince) continue;
    session.aloneSince.reset();
    session.carrier = page;
  }
  announceTo(page);
  schedule();
}

void RemoteSupport::removeCustomer(PageId page) {
  customers.erase(page);
  inFront.erase(page);
  for (auto& [id, session] : sessions) {
    if (session.carrier != page) continue;
    session.carrier = customers.empty() ? std::nullopt : std::optional(*customers.begin());
    if (!session.carrier) session.aloneSince = outside.now();
    carryOut(id, session.invitation.networkLost(outside.now()));
  }
}

void RemoteSupport::handle(PageId page, const RemoteMessage& message) {
  using What = RemoteMessage::What;
  const auto& [what, id, given, is, text] = message;
  if (what == What::invite) return invite();
  if (what == What::stopAll) return stopAll();
  if (what == What::log) {
    return outside.pages.sendText(page,
                                  textOf({{"event", "log"}, {"entries", outside.log.newest()}}));
  }
  if (what == What::front) {
    inFront.erase(page);
    if (is) inFront.insert(page);
    return;
  }
  auto* session = find(id);
  if (session == nullptr) return;
  if (what == What::answer) return answer(page, id, given);
  if (what == What::control) return setControl(id, is);
  if (what == What::end) return end(id, session->since ? "disconnected" : "withdrawn");
  if (session->stage != Stage::connected || session->carrier != page) return;
  if (what == What::signal) return tell(*session, R"({"type":"signal","signal":)" + text + "}");
  if (what == What::path) return setPath(id, text);
  carryOut(id, session->invitation.networkLost(outside.now()), "page");
}

void RemoteSupport::invite() {
  forgetWhatIsOver(milliseconds(0));
  if (outside.signalling == nullptr || sessions.size() >= sessionsMax) return announce();
  const auto id = ++lastId;
  sessions.emplace(id, Invitation(outside.random, outside.now()));
  record("invited", id);
  listen(id);
  announce();
}

void RemoteSupport::openTo(Invitation::DeviceLink link) {
  device = std::move(link);
  for (auto& [id, session] : sessions) {
    if (session.isOfDevice && !isOver(session.stage)) end(id, "stopped");
  }
  awaitDeviceGuest();
}

// When the one before is over and forgotten: a broker knows one client by each link.
void RemoteSupport::awaitDeviceGuest() {
  const bool isAwaited = device && std::ranges::any_of(sessions, [this](const auto& entry) {
                           const auto& session = entry.second;
                           return session.isOfDevice && session.invitation.inbox() == device->inbox;
                         });
  if (!device || isAwaited || outside.signalling == nullptr) return;
  const auto id = ++lastId;
  sessions.emplace(id, Session(Invitation(outside.random, *device), true));
  listen(id);
}

void RemoteSupport::admitToDevice(RemoteId id) {
  auto& session = sessions.at(id);
  session.control = true;
  session.carrier = customers.empty() ? std::nullopt : std::optional(*customers.begin());
  if (!session.carrier) session.aloneSince = outside.now();
  carryOut(id, session.invitation.answer(Invitation::Answer::control, outside.now()), "deviceLink");
}

void RemoteSupport::answer(PageId page, RemoteId id, Invitation::Answer given) {
  auto& session = sessions.at(id);
  if (session.stage != Stage::asking) return;
  session.control = given == Invitation::Answer::control;
  session.carrier = page;
  carryOut(id, session.invitation.answer(given, outside.now()), "customer");
}

void RemoteSupport::setPath(RemoteId id, const std::string& path) {
  auto& session = sessions.at(id);
  if (session.path == path) return;
  session.path = path;
  record("connected", id);
  if (!std::exchange(session.wasConnected, true)) {
    notify(desktopText("notification.connected", session.name),
           session.control ? desktopText("notification.canControl")
                           : desktopText("notification.canWatch"));
  }
  announce();
}

void RemoteSupport::setControl(RemoteId id, bool given) {
  auto& session = sessions.at(id);
  if (!session.since || session.control == given) return;
  session.control = given;
  if (session.stage == Stage::connected) outside.pages.admit(id, given);
  record("control", id);
  if (given) {
    notify(desktopText("notification.controls", session.name),
           desktopText("notification.takeBack"));
  }
  announce();
}

// --- What comes from elsewhere

void RemoteSupport::listen(RemoteId id) {
  auto& session = sessions.at(id);
  session.place = outside.signalling->listen(
      session.invitation.inbox(), session.invitation.place(),
      {[this, id](Reach reach, std::string detail) { reachChanged(id, reach, std::move(detail)); },
       [this, id](ByteView envelope) { receive(id, envelope); },
       [this, id] {
         supporterGone(id);
       }});
  schedule();
}

void RemoteSupport::reachChanged(RemoteId id, Reach reach, std::string detail) {
  if (reach == Reach::connecting) return;
  auto& session = sessions.at(id);
  if (reach == Reach::placeTaken && session.stage == Stage::waiting) return tryAnotherPlace(id);
  problem = nameOf(reach);
  problemDetail = std::move(detail);
  session.listening = session.listening || problem.is_null();
  announce();
}

void RemoteSupport::tryAnotherPlace(RemoteId id) {
  auto& session = sessions.at(id);
  session.listening = false;
  if (++session.placesTaken < placesMax) {
    session.invitation = Invitation(outside.random, outside.now());
  } else {
    session.invitation.withdrawCode();
  }
  listen(id);
}

void RemoteSupport::receive(RemoteId id, ByteView envelope) {
  auto& session = sessions.at(id);
  const auto effects = session.invitation.receive(envelope, outside.now());
  if (effects.ask || effects.resumed) session.place->watch(readEnvelope(envelope)->nonce);
  carryOut(id, effects);
}

void RemoteSupport::supporterGone(RemoteId id) {
  auto& session = sessions.at(id);
  if (!session.path.empty()) return;  // it is the broker that is lost, or the page will notice
  if (session.stage == Stage::asking) session.invitation.end();
  carryOut(id, session.invitation.networkLost(outside.now()), "left");
}

void RemoteSupport::handleSupporter(RemoteId id, ByteView bytes) {
  const auto message = json::parse(bytes.begin(), bytes.end(), nullptr, false);
  if (!message.is_object() || !message.contains("type")) return;
  auto& session = sessions.at(id);
  if (message["type"] == "leave") {
    session.invitation.end();
    enter(id, Stage::ended, "left");
  } else if (message["type"] == "signal" && message.contains("signal") &&
             isSignal(message["signal"]) && session.carrier) {
    if (++session.signals > signalsMax) return end(id, "tooMuch");
    outside.pages.sendText(
        *session.carrier,
        textOf({{"event", "signal"}, {"remote", id}, {"signal", message["signal"]}}));
  }
}

// --- One session

RemoteSupport::Session* RemoteSupport::find(RemoteId id) {
  const auto found = sessions.find(id);
  return found != sessions.end() && !isOver(found->second.stage) ? &found->second : nullptr;
}

void RemoteSupport::carryOut(RemoteId id, const Invitation::Effects& effects,
                             std::string_view why) {
  auto& session = sessions.at(id);
  for (const auto& envelope : effects.send) session.place->send(envelope);
  if (effects.ask) {
    session.name = effects.ask->name;
    session.words = effects.ask->words;
    if (session.isOfDevice) return admitToDevice(id);
  }
  // The peer connection has to be made anew, whether or not anybody has noticed its end.
  if (effects.resumed && session.stage == Stage::connected) enter(id, Stage::lost, "supporter");
  if (session.stage != session.invitation.stage()) enter(id, session.invitation.stage(), why);
  if (effects.message) handleSupporter(id, *effects.message);
  schedule();
}

void RemoteSupport::enter(RemoteId id, Stage stage, std::string_view why) {
  auto& session = sessions.at(id);
  const bool wasLost = std::exchange(session.stage, stage) == Stage::lost;
  if (stage == Stage::asking) {
    record("asked", id);
    notify(desktopText("notification.asks", session.name), desktopText("notification.answer"));
  } else if (stage == Stage::connected) {
    if (!wasLost) session.since = outside.now();
    session.signals = 0;
    record(wasLost ? "resumed" : "allowed", id, session.isOfDevice ? why : "");
    outside.pages.admit(id, session.control);
  } else {
    outside.pages.dismiss(id);
    session.path.clear();
    if (isOver(stage)) session.overSince = outside.now();
    record(stage == Stage::lost      ? "lost"
           : stage == Stage::refused ? "refused"
                                     : "ended",
           id, why.empty() ? nameOf(stage) : why);
  }
  announce();
}

void RemoteSupport::end(RemoteId id, std::string_view why) {
  auto& session = sessions.at(id);
  if (session.stage == Stage::asking) {
    using enum Invitation::Answer;
    return carryOut(id, session.invitation.answer(refuse, outside.now()), why);
  }
  const bool isKnown = why == "stopped" || why == "gone";
  tell(session, textOf({{"type", "ended"}, {"why", isKnown ? why : "disconnected"}}));
  session.invitation.end();
  carryOut(id, {}, why);
}

void RemoteSupport::tell(Session& session, std::string_view message) {
  const auto envelope = session.invitation.seal(bytesOf(message));
  if (envelope) session.place->send(*envelope);
}

void RemoteSupport::stopAll() {
  for (auto& [id, session] : sessions) {
    if (!isOver(session.stage)) end(id, "stopped");
  }
}

void RemoteSupport::record(std::string_view event, RemoteId id, std::string_view why) {
  const auto& session = sessions.at(id);
  if (session.isOfDevice && !session.since) return;  // nobody has come
  outside.log.add({{"event", event},
                   {"remote", id},
                   {"name", session.name},
                   {"path", orNull(session.path)},
                   {"control", session.control},
                   {"why", orNull(std::string(why))}});
}

void RemoteSupport::notify(const std::string& title, const std::string& text) {
  // The page of a computer left alone is in front of nobody.
  if (inFront.empty() || device) outside.notify(title, text);
}

// --- What the pages are told

void RemoteSupport::announce() {
  for (const auto page : customers) announceTo(page);
}

void RemoteSupport::announceTo(PageId page) {
  auto list = json::array();
  std::size_t open = 0;
  for (const auto& [id, session] : sessions) {
    if (!isOver(session.stage)) ++open;
    if (!session.isOfDevice || session.since) list.push_back(describe(id, session, page));
  }
  outside.pages.sendText(page, textOf({{"event", "remote"},
                                       {"configured", outside.signalling != nullptr},
                                       {"problem", problem},
                                       {"detail", problemDetail},
                                       {"full", open >= sessionsMax},
                                       {"page", config ? config->page : ""},
                                       {"iceServers", config ? config->iceServers : json(nullptr)},
                                       {"sessions", std::move(list)}}));
}

json RemoteSupport::describe(RemoteId id, const Session& session, PageId page) const {
  const auto now = outside.now();
  const auto msBetween = [](const auto& from, const auto& to) {
    return from && to ? json(std::chrono::duration_cast<milliseconds>(*to - *from).count())
                      : json(nullptr);
  };
  const bool isPreparing = session.stage == Stage::waiting && !session.listening;
  const bool isReady = session.stage == Stage::waiting && session.listening && config;
  const auto link = isReady ? session.invitation.link(config->page) : "";
  return {{"id", id},
          {"stage", isPreparing ? "preparing" : nameOf(session.stage)},
          {"code", isReady ? session.invitation.code() : ""},
          {"link", link},
          {"qr", isReady ? qrRows(link) : std::vector<std::string>()},
          {"expiresInMs", msBetween(std::optional(now), session.invitation.deadline())},
          {"name", session.name},
          {"words", session.stage == Stage::asking ? session.words : json(nullptr)},
          {"control", session.control},
          {"sinceMs", msBetween(session.since, std::optional(now))},
          {"path", orNull(session.path)},
          {"carrier", session.carrier == page}};
}

// --- Time

void RemoteSupport::timePassed() {
  const auto now = outside.now();
  for (auto& [id, session] : sessions) {
    const bool isAlone = session.stage == Stage::connected && session.aloneSince;
    if (isAlone && now >= *session.aloneSince + Invitation::lostFor) {
      end(id, "gone");
    } else {
      carryOut(id, session.invitation.timePassed(now),
               session.stage == Stage::asking ? "unanswered" : "");
    }
  }
  forgetWhatIsOver(overShownFor);
  schedule();
}

void RemoteSupport::forgetWhatIsOver(milliseconds shownFor) {
  const auto now = outside.now();
  const auto count = std::erase_if(sessions, [&](const auto& entry) {
    const auto& [id, session] = entry;
    return session.overSince && now >= *session.overSince + std::min(shownFor, restOf(session));
  });
  if (count == 0) return;
  if (sessions.empty()) problem = nullptr;
  awaitDeviceGuest();
  announce();
}

milliseconds RemoteSupport::restOf(const Session& session) {
  return session.isOfDevice ? milliseconds(deviceRest) : overShownFor;
}

std::optional<Invitation::Time> RemoteSupport::deadlineOf(const Session& session) {
  if (session.overSince) return *session.overSince + restOf(session);
  if (session.stage == Stage::connected && session.aloneSince) {
    return *session.aloneSince + Invitation::lostFor;
  }
  return session.invitation.deadline();
}

void RemoteSupport::schedule() {
  std::optional<Invitation::Time> next;
  for (const auto& [id, session] : sessions) {
    const auto deadline = deadlineOf(session);
    if (deadline) next = std::min(next.value_or(*deadline), *deadline);
  }
  timer.cancel();
  if (!next) return;
  const auto wait = std::chrono::ceil<milliseconds>(*next - outside.now());
  timer = MainLoopSource::onTimeout(nullptr, std::max(wait, milliseconds(0)),
                                    MainLoopSource::once([this] { timePassed(); }));
}

}  // namespace quorvin::webui
