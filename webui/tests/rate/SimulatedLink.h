#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <vector>

namespace quorvin::webui {

// A way between two computers, in steps of a millisecond: packets of 1,200 bytes wait in a queue
// with an end, leave at the link's rate, are lost now and then, and arrive half a round trip later.
// What carries messages over it is reliable and in order and has a window of its own, roughly as
// SCTP (RFC 9260, 7.2): what is lost goes again a round trip later, holds up all that follows, and
// halves the window.
class SimulatedLink {
 public:
  struct Way {
    double bytesPerMs = 1250;  // 10 Mbit/s
    int oneWayMs = 20;
    std::size_t queueMax = 256 * 1024;  // bytes
    double loss = 0;
  };

  SimulatedLink(Way way, std::uint64_t seed) : way(way), random(seed), window(10 * packetBytes) {}

  void setRate(double bytesPerMs) { way.bytesPerMs = bytesPerMs; }

  // The message has a number larger than those before.
  void send(std::uint64_t message, std::size_t bytes);
  // One millisecond. The messages that are whole at the other end now, in their order.
  [[nodiscard]] std::vector<std::uint64_t> step();

  // How long a byte that is sent now has to wait before it leaves.
  [[nodiscard]] double queueingMs() const;
  [[nodiscard]] std::uint64_t bytesCarried() const { return carried; }
  [[nodiscard]] int oneWayMs() const { return way.oneWayMs; }
  [[nodiscard]] bool chance(double share) {
    return std::uniform_real_distribution<double>(0, 1)(random) < share;
  }

 private:
  static constexpr double packetBytes = 1200;

  struct Packet {
    std::uint64_t number = 0;
    std::size_t bytes = 0;
    std::optional<std::uint64_t> completes;  // this message
  };

  void fillQueue();
  void lose(const Packet& packet);
  void leave();
  void arrive(std::vector<std::uint64_t>& whole);
  void confirm();

  Way way;
  std::mt19937_64 random;
  int now = 0;

  std::deque<Packet> unsent;
  std::deque<Packet> queue;  // of the link
  std::size_t unsentBytes = 0;
  std::size_t queueBytes = 0;
  double credit = 0;
  std::multimap<int, Packet> lost;  // by when that is known
  std::multimap<int, Packet> underWay;
  std::multimap<int, std::size_t> confirmations;

  std::uint64_t lastNumber = 0;
  std::uint64_t nextArrival = 1;
  std::map<std::uint64_t, Packet> early;  // behind one that is missing
  double window;
  double threshold = 1e9;
  std::size_t unconfirmed = 0;
  int windowHalvedAt = -1'000'000;
  std::uint64_t carried = 0;
};

}  // namespace quorvin::webui
