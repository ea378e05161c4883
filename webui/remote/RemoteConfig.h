#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace quorvin::webui {

// What a supporter on another computer is reached by. Errors are std::runtime_error, with a text
// for people that says what is wrong where, and what to do.
struct RemoteConfig {
  struct Broker {
    bool isEncrypted = false;  // TLS
    std::string host;
    std::uint16_t port = 0;
  };

  Broker broker;
  std::string page;           // the supporter's, to which an invitation's fragment is added
  nlohmann::json iceServers;  // for RTCPeerConnection; null when none are named
  std::string caFile;         // certificates that count in the place of the system's; may be empty
};

// The object of remote.json: "broker" (mqtts://HOST[:8883] or mqtt://HOST[:1883]), "page" (https,
// on this computer also http), and, if wanted, "iceServers" and "caFile".
[[nodiscard]] RemoteConfig parseRemoteConfig(const nlohmann::json& settings);

// A file of up to 4 KiB in a folder of this user's own, as it may hold a password. Nothing when
// there is none.
[[nodiscard]] std::optional<RemoteConfig> readRemoteConfig(const std::filesystem::path& file);

// Of QUORVIN_REMOTE_BROKER, QUORVIN_REMOTE_PAGE and QUORVIN_REMOTE_CA_FILE when the first is set,
// else of com.quorvin.support/remote.json in the user's folder for settings.
[[nodiscard]] std::optional<RemoteConfig> readRemoteConfig();

}  // namespace quorvin::webui
