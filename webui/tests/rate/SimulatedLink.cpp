#include "webui/tests/rate/SimulatedLink.h"

#include <algorithm>
#include <utility>

namespace quorvin::webui {

void SimulatedLink::send(std::uint64_t message, std::size_t bytes) {
  unsentBytes += bytes;
  while (bytes > 0) {
    const auto part = std::min<std::size_t>(bytes, static_cast<std::size_t>(packetBytes));
    bytes -= part;
    unsent.push_back({++lastNumber, part, bytes == 0 ? std::optional(message) : std::nullopt});
  }
}

std::vector<std::uint64_t> SimulatedLink::step() {
  ++now;
  std::vector<std::uint64_t> whole;
  arrive(whole);
  confirm();
  fillQueue();
  leave();
  return whole;
}

double SimulatedLink::queueingMs() const {
  return static_cast<double>(unsentBytes + queueBytes) / way.bytesPerMs;
}

void SimulatedLink::fillQueue() {
  while (!unsent.empty() && static_cast<double>(unconfirmed) < window) {
    const auto packet = unsent.front();
    unsent.pop_front();
    unsentBytes -= packet.bytes;
    unconfirmed += packet.bytes;
    if (queueBytes + packet.bytes > way.queueMax) {
      lose(packet);
    } else {
      queueBytes += packet.bytes;
      queue.push_back(packet);
    }
  }
}

void SimulatedLink::lose(const Packet& packet) {
  lost.emplace(now + 2 * way.oneWayMs, packet);
}

void SimulatedLink::leave() {
  credit = queue.empty() ? 0 : credit + way.bytesPerMs;
  while (!queue.empty() && credit >= static_cast<double>(queue.front().bytes)) {
    const auto packet = queue.front();
    queue.pop_front();
    queueBytes -= packet.bytes;
    credit -= static_cast<double>(packet.bytes);
    carried += packet.bytes;
    if (chance(way.loss)) {
      lose(packet);
    } else {
      underWay.emplace(now + way.oneWayMs, packet);
    }
  }
}

void SimulatedLink::arrive(std::vector<std::uint64_t>& whole) {
  while (!underWay.empty() && underWay.begin()->first <= now) {
    const auto packet = underWay.begin()->second;
    underWay.erase(underWay.begin());
    confirmations.emplace(now + way.oneWayMs, packet.bytes);
    early.emplace(packet.number, packet);
  }
  while (!early.empty() && early.begin()->first == nextArrival) {
    if (early.begin()->second.completes) whole.push_back(*early.begin()->second.completes);
    early.erase(early.begin());
    ++nextArrival;
  }
}

void SimulatedLink::confirm() {
  while (!confirmations.empty() && confirmations.begin()->first <= now) {
    const auto bytes = confirmations.begin()->second;
    confirmations.erase(confirmations.begin());
    const bool full = static_cast<double>(unconfirmed) + packetBytes >= window;
    unconfirmed -= bytes;
    if (!full) continue;
    const auto confirmed = static_cast<double>(bytes);
    window += window < threshold ? confirmed : confirmed * packetBytes / window;
  }
  while (!lost.empty() && lost.begin()->first <= now) {
    const auto packet = lost.begin()->second;
    lost.erase(lost.begin());
    unconfirmed -= packet.bytes;
    unsentBytes += packet.bytes;
    unsent.push_front(packet);
    if (now - windowHalvedAt < 2 * way.oneWayMs) continue;
    windowHalvedAt = now;
    window = threshold = std::max(window / 2, 4 * packetBytes);
  }
}

}  // namespace quorvin::webui
