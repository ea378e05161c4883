#include <mosquitto.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <span>
#include <stdexcept>
#include <string>

#include "platform/unix/ProgramStart.h"
#include "webui/Confinement.h"
#include "webui/signalling/BrokerConnection.h"

// Holds the connections to a broker for quorvin-webui, which starts this program with a socket as
// its standard input (webui/remote/SignallingPacket.h has what they say) and with what to connect
// to as its arguments: mqtt or mqtts, host, port, and a file with certificates or an empty word.
// What passes through here is sealed: whoever takes this program over has no session.

namespace {

using namespace quorvin::webui;
using std::chrono::steady_clock;
using Word = SignallingWord;

constexpr std::chrono::seconds leaveTimeout{3};

class Places {
 public:
  explicit Places(BrokerAddress broker) : broker(std::move(broker)) {}

  void obey(const SignallingPacket& order) {
    if (order.word == Word::listen) return listen(order.number, order.content);
    const auto found = places.find(order.number);
    if (found == places.end()) return;
    auto& place = found->second;
    const auto supporter = readClientId(order.content);
    if (order.word == Word::send) place.send(order.content);
    if (order.word == Word::tellPlace) place.tellPlace(order.content);
    if (order.word == Word::watch && supporter) place.watch(*supporter);
    if (order.word == Word::leave) place.leave();
  }

  // Those that do not manage are left behind.
  void leave() {
    const auto end = steady_clock::now() + leaveTimeout;
    for (auto& [number, place] : places) place.leave();
    std::erase_if(places, [end](const auto& place) { return place.second.hasEndedBy(end); });
  }

 private:
  void listen(std::uint32_t number, ByteView wanted) {
    std::erase_if(places, [](const auto& place) { return place.second.hasEndedBy({}); });
    const auto sid = readClientId(wanted);
    if (!sid) return;
    const auto digits = wanted.subspan(sid->size());
    const auto say = [number](Word word, ByteView content) {
      const auto packet = writePacket(word, number, content);
      ::send(STDIN_FILENO, packet.data(), packet.size(), MSG_NOSIGNAL);
    };
    try {
      places.try_emplace(number, broker, *sid, std::string(digits.begin(), digits.end()), say);
    } catch (const std::exception& error) {
      const auto reach = static_cast<std::uint8_t>(Reach::unreachable);
      say(Word::reach, joined({ByteView(&reach, 1), bytesOf(error.what())}));
    }
  }

  const BrokerAddress broker;
  std::map<std::uint32_t, BrokerConnection> places;
};

void serve(Places& places) {
  static PacketBuffer buffer;
  for (;;) {
    const auto size = receivePacket(STDIN_FILENO, buffer);
    if (size == 0 || (size < 0 && errno != EINTR)) return;
    if (size < 0) continue;
    if (const auto order = readPacket(buffer, static_cast<std::size_t>(size))) places.obey(*order);
  }
}

void run(std::span<char*> arguments) {
  if (arguments.size() != 5) throw std::runtime_error("only quorvin-webui starts this program");
  const std::string host = arguments[2];
  const bool isEncrypted = arguments[1] == std::string_view("mqtts");
  mosquitto_lib_init();
  Places places(
      {host, std::atoi(arguments[3]), isEncrypted ? brokerTls(host, arguments[4]) : nullptr});
  if constexpr (QUORVIN_CONFINED) confine(Network::outgoing);
  serve(places);
  places.leave();
  // Some may still ask for an address, which nothing ends.
  ::_exit(EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char** argv) {
  quorvin::prepareProcess();
  try {
    run({argv, static_cast<std::size_t>(argc)});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvin-signalling: %s\n", error.what());
  }
  return EXIT_FAILURE;
}
