#include "webui/remote/SignallingLink.h"

#include <fcntl.h>
#include <glib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "platform/unix/SpawnSetup.h"
#include "webui/trust/Messages.h"

namespace quorvin::webui {

namespace {

using Word = SignallingWord;

// For the answer of whoever has the place.
constexpr std::chrono::seconds claimTime{1};
// Of a program that reads nothing any more.
constexpr std::size_t unsentMax = 256;

std::string textOf(ByteView bytes) {
  const auto shown = bytes.first(std::min(bytes.size(), reachDetailBytesMax));
  const GlibPtr<char> valid(g_utf8_make_valid(reinterpret_cast<const char*>(shown.data()),
                                              static_cast<gssize>(shown.size())));
  return valid.get();
}

}  // namespace

FileDescriptor startSignalling(const std::string& program, const RemoteConfig& config) {
  std::array<int, 2> ends{-1, -1};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error("there is no socket for quorvin-signalling");
  }
  FileDescriptor own(ends[0]);
  const FileDescriptor theirs(ends[1]);
  std::array<std::string, 5> words{program, config.broker.isEncrypted ? "mqtts" : "mqtt",
                                   config.broker.host, std::to_string(config.broker.port),
                                   config.caFile};
  std::array<char*, words.size() + 1> arguments{};
  std::ranges::transform(words, arguments.begin(), [](auto& word) { return word.data(); });
  SpawnSetup setup;
  posix_spawn_file_actions_adddup2(&setup.actions, theirs.get(), STDIN_FILENO);
  posix_spawn_file_actions_addopen(&setup.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(&setup.actions, STDERR_FILENO + 1);
  // It has something to say to the broker after an interrupt from the terminal.
  posix_spawnattr_setflags(&setup.attributes, SpawnSetup::flags | POSIX_SPAWN_SETSID);
  pid_t process = 0;
  if (posix_spawn(&process, program.c_str(), &setup.actions, &setup.attributes, arguments.data(),
                  environ) != 0) {
    throw std::runtime_error(program + " cannot be started; is it installed?");
  }
  return own;
}

class SignallingLink::Place : public SignallingPlace {
 public:
  Place(SignallingLink& link, std::uint32_t number, bool hasPlace, Handlers handlers)
      : link(link), number(number), hasPlace(hasPlace), handlers(std::move(handlers)) {
    link.places[number] = this;
  }
  ~Place() override {
    link.places.erase(number);
    link.post(Word::leave, number, {});
  }

  void send(const Bytes& envelope) override { link.post(Word::send, number, envelope); }
  void watch(const Nonce& supporter) override {
    watched = readClientId(supporter);
    link.post(Word::watch, number, *watched);
  }

  // Calls no handler now.
  void end() {
    timer = MainLoopSource::onTurn(
        nullptr, G_PRIORITY_DEFAULT, MainLoopSource::once([this] {
          report(Reach::unreachable, "quorvin-signalling has ended; start Quorvin Support again");
        }));
  }

  // Each of these ends with the handler, which may destroy this.
  void receive(const SignallingPacket& packet) {
    switch (packet.word) {
      case Word::reach:
        if (!packet.content.empty()) onReach(packet.content[0], textOf(packet.content.subspan(1)));
        break;
      case Word::placeMessage:
        onPlaceMessage(packet.content);
        break;
      case Word::message:
        deliver(packet.content);
        break;
      case Word::gone:
        if (watched && readClientId(packet.content) == watched) call(handlers.onGone);
        break;
      default:
        break;
    }
  }

 private:
  template <typename... Arguments>
  static void call(std::function<void(Arguments...)> handler, Arguments... arguments) {
    handler(std::move(arguments)...);
  }
  void report(Reach reach, std::string detail) { call(handlers.onReach, reach, std::move(detail)); }
  void deliver(ByteView envelope) { call(handlers.onMessage, envelope); }

  void onReach(std::uint8_t said, std::string detail) {
    const auto reach = static_cast<Reach>(said);
    timer.cancel();
    if (reach == Reach::open && hasPlace && !isTaken) {
      claim();
    } else if (reach == Reach::open) {
      report(isTaken ? Reach::placeTaken : Reach::open, {});
    } else if (reach > Reach::placeTaken && reach <= Reach::refused) {
      report(reach, std::move(detail));
    }
  }

  // Again after every interruption, during which somebody else may have come.
  void claim() {
    link.random(ownClaim);
    say(Kind::claim, ownClaim);
    timer = MainLoopSource::onTimeout(nullptr, claimTime,
                                      MainLoopSource::once([this] { report(Reach::open, {}); }));
  }

  // What it says itself comes back as well.
  void onPlaceMessage(ByteView bytes) {
    const auto envelope = readEnvelope(bytes);
    if (!envelope || !hasPlace || isTaken) return;
    if (envelope->version != envelopeVersion ||
        (envelope->kind != Kind::claim && envelope->kind != Kind::claimed)) {
      deliver(bytes);
    } else if (losesPlaceBy(*envelope)) {
      timer.cancel();
      isTaken = true;
      report(Reach::placeTaken, {});
    } else if (envelope->kind == Kind::claim && envelope->nonce != ownClaim) {
      say(Kind::claimed, envelope->nonce);
    }
  }

  // Of two who claim at once, one who came too late to hear the other has to be believed as well.
  [[nodiscard]] bool losesPlaceBy(const Envelope& envelope) const {
    if (envelope.kind == Kind::claimed) return envelope.nonce == ownClaim;
    return timer.isActive() && ownClaim > envelope.nonce;
  }

  void say(Kind kind, const Nonce& claimant) {
    link.post(Word::tellPlace, number, writeEnvelope(kind, claimant, {}));
  }

  SignallingLink& link;
  std::uint32_t number;
  bool hasPlace;
  Handlers handlers;
  std::optional<ClientId> watched;
  bool isTaken = false;
  Nonce ownClaim{};
  MainLoopSource timer;  // as long as it claims
};

SignallingLink::SignallingLink(FileDescriptor program, RandomBytes random)
    : program(std::move(program)), random(std::move(random)) {
  readable = MainLoopSource::onDescriptor(nullptr, this->program.get(),
                                          static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
                                          [this] {
                                            read();
                                            return MainLoopSource::Next::again;
                                          });
}

std::unique_ptr<SignallingPlace> SignallingLink::listen(const ClientId& inbox,
                                                        const std::string& place,
                                                        Handlers handlers) {
  auto made = std::make_unique<Place>(*this, ++lastNumber, !place.empty(), std::move(handlers));
  post(Word::listen, lastNumber, joined({inbox, bytesOf(place)}));
  if (!program.isOpen()) made->end();
  return made;
}

void SignallingLink::post(SignallingWord word, std::uint32_t number, ByteView content) {
  if (!program.isOpen() || content.size() > envelopeBytesMax) return;
  unsent.push_back(writePacket(word, number, content));
  write();
}

void SignallingLink::write() {
  while (!unsent.empty()) {
    const auto& packet = unsent.front();
    if (::send(program.get(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) break;
    unsent.pop_front();
  }
  if (unsent.size() > unsentMax) close();
  if (unsent.empty() || writable.isActive()) return;
  writable = MainLoopSource::onDescriptor(nullptr, program.get(), G_IO_OUT, [this] {
    write();
    return unsent.empty() ? MainLoopSource::Next::finished : MainLoopSource::Next::again;
  });
}

// One packet a turn, so that strangers with much to say leave pages theirs.
void SignallingLink::read() {
  PacketBuffer buffer;  // NOLINT: filled below
  const auto size = receivePacket(program.get(), buffer, MSG_DONTWAIT);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (size <= 0) return close();
  const auto packet = readPacket(buffer, static_cast<std::size_t>(size));
  const auto found = packet ? places.find(packet->number) : places.end();
  if (found != places.end()) found->second->receive(*packet);
}

void SignallingLink::close() {
  readable.cancel();
  writable.cancel();
  unsent.clear();
  program.reset();
  for (const auto& [number, place] : places) place->end();
}

}  // namespace quorvin::webui
