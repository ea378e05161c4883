#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "webui/remote/Signalling.h"

namespace quorvin::webui {

// A broker that tests speak for.
class FakeSignalling : public Signalling {
 public:
  struct Place {
    ClientId inbox;
    std::string name;
    Handlers handlers;
    std::vector<Bytes> sent;
    std::vector<Nonce> watched;
    bool left = false;

    // From copies, as a handler may leave the place.
    void reach(Reach reach, const std::string& detail = "") const {
      const auto onReach = handlers.onReach;
      onReach(reach, detail);
    }
    void deliver(const Bytes& envelope) const {
      const auto onMessage = handlers.onMessage;
      onMessage(envelope);
    }
    void tellGone() const {
      const auto onGone = handlers.onGone;
      onGone();
    }
  };

  std::unique_ptr<SignallingPlace> listen(const ClientId& inbox, const std::string& place,
                                          Handlers handlers) override {
    places.push_back(std::make_shared<Place>(Place{inbox, place, std::move(handlers), {}, {}}));
    return std::make_unique<Listening>(places.back());
  }

  [[nodiscard]] Place& newest() const { return *places.back(); }

  std::vector<std::shared_ptr<Place>> places;

 private:
  class Listening : public SignallingPlace {
   public:
    explicit Listening(std::shared_ptr<Place> place) : place(std::move(place)) {}
    ~Listening() override { place->left = true; }
    void send(const Bytes& envelope) override { place->sent.push_back(envelope); }
    void watch(const Nonce& supporter) override { place->watched.push_back(supporter); }

   private:
    std::shared_ptr<Place> place;
  };
};

}  // namespace quorvin::webui
