#include "webui/signalling/BrokerConnection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace quorvin::webui {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Word = SignallingWord;

constexpr int keepAliveSeconds = 20;
constexpr int turnMs = 1000;
constexpr int onceInOrder = 2;  // MQTT's quality of service
constexpr int atLeastOnce = 1;
constexpr int subscriptionFailed = 0x80;
constexpr std::size_t unconfirmedMax = 256;
constexpr milliseconds firstPause{1000};
constexpr milliseconds longestPause{30'000};
constexpr std::chrono::seconds connectTimeout{10};
constexpr std::chrono::seconds leaveTimeout{2};
constexpr std::array<std::uint8_t, 1> goneSign{1};

std::string topicOf(const ClientId& client) {
  return "quorvin/1/" + idText(client);
}

// Names nobody, so that everybody may read it.
std::string goneTopicOf(const ClientId& client) {
  return "quorvin/1/gone/" + idText(sidOf(client));
}

milliseconds upToHalfOf(milliseconds time) {
  return milliseconds(randombytes_uniform(static_cast<std::uint32_t>(time.count() / 2)));
}

BrokerConnection& at(void* self) {
  return *static_cast<BrokerConnection*>(self);
}

}  // namespace

BrokerConnection::BrokerConnection(BrokerAddress broker, const ClientId& self,
                                   const std::string& place, Sink sink)
    : broker(std::move(broker)),
      ownTopic(topicOf(self)),
      placeTopic(place.empty() ? "" : "quorvin/1/place/" + place),
      goneTopic(goneTopicOf(self)),
      sink(std::move(sink)),
      client(mosquitto_new(idText(self).c_str(), true, this), mosquitto_destroy) {
  if (client == nullptr) throw std::bad_alloc();
  setUp(place);
  thread = std::jthread([this] { run(); });
}

void BrokerConnection::setUp(const std::string& place) {
  auto* made = client.get();
  mosquitto_threaded_set(made, true);
  mosquitto_int_option(made, MOSQ_OPT_TCP_NODELAY, 1);
  if (broker.tls != nullptr) {
    mosquitto_void_option(made, MOSQ_OPT_SSL_CTX, broker.tls.get());
    mosquitto_int_option(made, MOSQ_OPT_SSL_CTX_WITH_DEFAULTS, 0);  // as it is, that is
  }
  // By which a broker's rules let it listen there.
  if (!place.empty()) mosquitto_username_pw_set(made, place.c_str(), nullptr);
  mosquitto_will_set(made, goneTopic.c_str(), goneSign.size(), goneSign.data(), atLeastOnce, false);
  mosquitto_connect_callback_set(
      made, [](mosquitto*, void* self, int code) { at(self).onConnected(code); });
  mosquitto_subscribe_callback_set(
      made, [](mosquitto*, void* self, int, int count, const int* granted) {
        at(self).onSubscribed({granted, static_cast<std::size_t>(count)});
      });
  mosquitto_publish_callback_set(made, [](mosquitto*, void* self, int) { at(self).onPublished(); });
  mosquitto_message_callback_set(made,
                                 [](mosquitto*, void* self, const mosquitto_message* message) {
                                   at(self).onMessage(*message);
                                 });
}

void BrokerConnection::send(ByteView envelope) {
  if (envelope.size() < envelopeHeadBytes) return;
  if (const auto supporter = readClientId(envelope.subspan(2)))
    publish(topicOf(*supporter), envelope);
}

void BrokerConnection::tellPlace(ByteView envelope) {
  if (!placeTopic.empty()) publish(placeTopic, envelope);
}

void BrokerConnection::watch(const ClientId& supporter) {
  const std::scoped_lock lock(mutex);
  if (!watchedTopic.empty()) mosquitto_unsubscribe(client.get(), nullptr, watchedTopic.c_str());
  watched = supporter;
  watchedTopic = goneTopicOf(supporter);
  mosquitto_subscribe(client.get(), nullptr, watchedTopic.c_str(), onceInOrder);
}

void BrokerConnection::leave() {
  const std::scoped_lock lock(mutex);
  if (leavesBy) return;
  leavesBy = steady_clock::now() + leaveTimeout;
  // A broker forgets the last will of a client that leaves in order.
  publishNow(goneTopic, goneSign);
  changed.notify_all();
}

bool BrokerConnection::hasEndedBy(steady_clock::time_point time) const {
  std::unique_lock lock(mutex);
  return changed.wait_until(lock, time, [this] { return hasEnded; });
}

void BrokerConnection::run() {
  auto pause = firstPause;
  std::unique_lock lock(mutex);
  do {
    lock.unlock();
    pause = connectOnce() ? firstPause : std::min(pause * 2, longestPause);
    lock.lock();
    // A broker that comes back is not to have all of its clients at the same moment.
    changed.wait_for(lock, pause - upToHalfOf(pause), [this] { return leavesBy.has_value(); });
  } while (!leavesBy);
  hasEnded = true;
  changed.notify_all();
}

// Returns when there is no connection any more; whether there has been one.
bool BrokerConnection::connectOnce() {
  isOpen = false;
  refusal.clear();
  auto trouble = connectFrom(nullptr);
  // Of a name's addresses the library tries the first only, which may be one of IPv6 that leads
  // nowhere.
  if (!isOpen && refusal.empty() && goesOn()) {
    const auto otherTrouble = connectFrom("0.0.0.0");
    if (isOpen) trouble = otherTrouble;
  }
  reportTrouble(trouble);
  return isOpen;
}

// `ownAddress` or null as in mosquitto_connect_bind_async.
std::string BrokerConnection::connectFrom(const char* ownAddress) {
  int result = mosquitto_connect_bind_async(client.get(), broker.host.c_str(), broker.port,
                                            keepAliveSeconds, ownAddress);
  if (result == MOSQ_ERR_SUCCESS) {
    const int error = awaitAnswer();
    if (error != 0) return std::strerror(error);
  }
  while (result == MOSQ_ERR_SUCCESS && goesOn()) result = mosquitto_loop(client.get(), turnMs, 1);
  return result == MOSQ_ERR_ERRNO ? std::strerror(errno) : mosquitto_strerror(result);
}

// What keeps the broker's system from answering, or 0. With TLS the library does not notice, and
// tries again and again without a pause.
int BrokerConnection::awaitAnswer() {
  pollfd answer{mosquitto_socket(client.get()), POLLOUT, 0};
  const auto end = steady_clock::now() + connectTimeout;
  while (goesOn() && steady_clock::now() < end && ::poll(&answer, 1, turnMs) == 0) continue;
  int error = ETIMEDOUT;
  socklen_t size = sizeof error;
  if (answer.revents != 0) ::getsockopt(answer.fd, SOL_SOCKET, SO_ERROR, &error, &size);
  // The library may have been told already.
  return error == 0 && (answer.revents & (POLLERR | POLLHUP)) != 0 ? ECONNREFUSED : error;
}

bool BrokerConnection::goesOn() {
  const std::scoped_lock lock(mutex);
  return !leavesBy || (isOpen && steady_clock::now() < *leavesBy);
}

void BrokerConnection::reportTrouble(std::string_view trouble) {
  const auto complaint = takeTlsComplaint();
  if (!complaint.empty()) return report(Reach::certificateWrong, complaint);
  if (!refusal.empty()) return report(Reach::refused, refusal);
  report(Reach::unreachable, trouble);
}

void BrokerConnection::report(Reach reach, std::string_view detail) {
  const std::array number{static_cast<std::uint8_t>(reach)};
  sink(Word::reach, joined({number, bytesOf(detail.substr(0, reachDetailBytesMax))}));
}

void BrokerConnection::publish(const std::string& topic, ByteView payload) {
  const std::scoped_lock lock(mutex);
  if (unconfirmed < unconfirmedMax) publishNow(topic, payload);
}

// What cannot be sent yet is kept by the library until there is a connection.
void BrokerConnection::publishNow(const std::string& topic, ByteView payload) {
  const int result =
      mosquitto_publish(client.get(), nullptr, topic.c_str(), static_cast<int>(payload.size()),
                        payload.data(), onceInOrder, false);
  if (result == MOSQ_ERR_SUCCESS || result == MOSQ_ERR_NO_CONN) ++unconfirmed;
}

void BrokerConnection::onConnected(int code) {
  if (code != 0) {
    refusal = mosquitto_connack_string(code);
    return;
  }
  const std::scoped_lock lock(mutex);
  auto topics = std::array{ownTopic, placeTopic, watchedTopic};
  std::vector<char*> wanted;
  for (auto& topic : topics) {
    if (!topic.empty()) wanted.push_back(topic.data());
  }
  mosquitto_subscribe_multiple(client.get(), nullptr, static_cast<int>(wanted.size()),
                               wanted.data(), onceInOrder, 0, nullptr);
}

void BrokerConnection::onSubscribed(std::span<const int> granted) {
  if (std::ranges::find(granted, subscriptionFailed) != granted.end()) {
    refusal = "Listening is not allowed there.";
    mosquitto_disconnect(client.get());
    return;
  }
  // Another supporter is watched from now on, that is all, if it has been open.
  if (!std::exchange(isOpen, true)) report(Reach::open, {});
}

void BrokerConnection::onPublished() {
  const std::scoped_lock lock(mutex);
  if (unconfirmed > 0) --unconfirmed;
  // It has not passed on what was not confirmed twice.
  if (leavesBy && unconfirmed == 0) mosquitto_disconnect(client.get());
}

void BrokerConnection::onMessage(const mosquitto_message& message) {
  const auto size = static_cast<std::size_t>(message.payloadlen);
  // Nobody who keeps to the rules leaves anything at the broker.
  if (message.retain || size > envelopeBytesMax) return;
  const ByteView payload(static_cast<const std::uint8_t*>(message.payload), size);
  const std::string_view topic = message.topic;
  if (topic == ownTopic) {
    sink(Word::message, payload);
  } else if (topic == placeTopic) {
    sink(Word::placeMessage, payload);
  } else {
    const std::scoped_lock lock(mutex);
    if (watched && topic == watchedTopic) sink(Word::gone, *watched);
  }
}

}  // namespace quorvin::webui
