#pragma once

#include <mosquitto.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include "webui/remote/Signalling.h"
#include "webui/remote/SignallingPacket.h"
#include "webui/signalling/BrokerTls.h"

namespace quorvin::webui {

struct BrokerAddress {
  std::string host;
  int port;
  std::shared_ptr<SSL_CTX> tls;  // null: not encrypted
};

// One client of an MQTT 3.1.1 broker (https://docs.oasis-open.org/mqtt/mqtt/v3.1.1/), which listens
// for one invitation; docs/invitation.md has the topics. It has a thread of its own, which connects
// again by itself, and may be told things by one other. Whoever destroys it waits for the thread,
// so that comes after `hasEndedBy`.
class BrokerConnection {
 public:
  // In the connection's thread.
  using Sink = std::function<void(SignallingWord, ByteView content)>;

  // Throws std::exception when the system has no memory or no thread for it.
  BrokerConnection(BrokerAddress broker, const ClientId& self, const std::string& place, Sink sink);

  void send(ByteView envelope);
  void tellPlace(ByteView envelope);
  void watch(const ClientId& supporter);
  // The thread ends once what was sent has arrived, or cannot.
  void leave();
  bool hasEndedBy(std::chrono::steady_clock::time_point time) const;

 private:
  void setUp(const std::string& place);
  void run();
  bool connectOnce();
  [[nodiscard]] bool goesOn();
  std::string connectFrom(const char* ownAddress);
  int awaitAnswer();
  void reportTrouble(std::string_view trouble);
  void report(Reach reach, std::string_view detail);
  void publish(const std::string& topic, ByteView payload);
  void publishNow(const std::string& topic, ByteView payload);
  void onConnected(int code);
  void onSubscribed(std::span<const int> granted);
  void onPublished();
  void onMessage(const mosquitto_message& message);

  const BrokerAddress broker;
  const std::string ownTopic, placeTopic, goneTopic;  // one that is not wanted is empty
  const Sink sink;
  const std::unique_ptr<mosquitto, decltype(&mosquitto_destroy)> client;

  std::string refusal;       // the broker's, of this attempt; the thread's own
  bool isOpen = false;       // in this attempt; as that, the thread's own
  mutable std::mutex mutex;  // for all that follows
  mutable std::condition_variable changed;
  std::optional<ClientId> watched;
  std::string watchedTopic;
  std::size_t unconfirmed = 0;
  bool hasEnded = false;
  std::optional<std::chrono::steady_clock::time_point> leavesBy;
  std::jthread thread;
};

}  // namespace quorvin::webui
