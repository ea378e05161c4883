#include "webui/remote/RemoteConfig.h"

#include <glib.h>

#include <array>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/PrivateFolder.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin::webui {

namespace {

using Json = nlohmann::json;

constexpr std::uint16_t encryptedPort = 8883;
constexpr std::uint16_t plainPort = 1883;

void require(bool holds, const std::string& otherwise) {
  if (!holds) throw std::runtime_error(otherwise);
}

struct Address {
  std::string scheme, host, path;
  int port = -1;
  bool isPlain = false;  // nothing but these
};

// Without a host when it is no address.
Address parseAddress(const std::string& text) {
  const GlibPtr<GUri> uri(g_uri_parse(text.c_str(), G_URI_FLAGS_NONE, nullptr));
  if (!uri || g_uri_get_host(uri.get()) == nullptr) return {};
  return {g_uri_get_scheme(uri.get()), g_uri_get_host(uri.get()), g_uri_get_path(uri.get()),
          g_uri_get_port(uri.get()),
          g_uri_get_userinfo(uri.get()) == nullptr && g_uri_get_query(uri.get()) == nullptr &&
              g_uri_get_fragment(uri.get()) == nullptr};
}

RemoteConfig::Broker parseBroker(const std::string& text) {
  const auto address = parseAddress(text);
  const bool isEncrypted = address.scheme == "mqtts";
  require((isEncrypted || address.scheme == "mqtt") && !address.host.empty() && address.isPlain &&
              address.path.size() <= 1 && address.port != 0,
          "\"broker\" has to be mqtts://HOST:8883 or mqtt://HOST:1883");
  const auto usual = isEncrypted ? encryptedPort : plainPort;
  return {isEncrypted, address.host,
          address.port < 0 ? usual : static_cast<std::uint16_t>(address.port)};
}

std::string checkedPage(std::string text) {
  const auto address = parseAddress(text);
  const bool isHere = address.host == "localhost" || address.host == "127.0.0.1";
  require(!address.host.empty() && address.isPlain &&
              (address.scheme == "https" || (isHere && address.scheme == "http")),
          "\"page\" has to be the address of the supporter's page, https://HOST/");
  return text;
}

Json checkedIceServers(Json servers) {
  bool isGood = servers.is_array();
  for (const auto& server : servers)
    isGood = isGood && server.is_object() && server.contains("urls");
  require(isGood, R"("iceServers" has to be a list like [{"urls": "stun:HOST"}])");
  return servers;
}

std::string text(const Json& value, const std::string& key) {
  require(value.is_string(), '"' + key + "\" has to be a text");
  return value.get<std::string>();
}

}  // namespace

RemoteConfig parseRemoteConfig(const Json& settings) {
  require(settings.is_object(), "it has to be a JSON object, {\"broker\": ..., \"page\": ...}");
  require(settings.contains("broker") && settings.contains("page"),
          R"("broker" and "page" have to be there)");
  RemoteConfig config;
  for (const auto& [key, value] : settings.items()) {
    if (key == "iceServers") {
      config.iceServers = checkedIceServers(value);
    } else if (key == "broker") {
      config.broker = parseBroker(text(value, key));
    } else if (key == "page") {
      config.page = checkedPage(text(value, key));
    } else {
      require(key == "caFile", "there is no setting \"" + key + '"');
      config.caFile = text(value, key);
      require(config.caFile.starts_with('/'), "\"caFile\" has to be a path from the root, /...");
    }
  }
  return config;
}

std::optional<RemoteConfig> readRemoteConfig(const std::filesystem::path& file) {
  if (!exists(file)) return std::nullopt;
  try {
    const auto content = PrivateFolder(file.parent_path()).read(file.filename());
    return parseRemoteConfig(Json::parse(content, nullptr, false));
  } catch (const std::system_error&) {
    throw std::runtime_error("only you may be able to read and write it; say: chmod 600 " +
                             file.string());
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file.string() + ": " + error.what());
  }
}

std::optional<RemoteConfig> readRemoteConfig() {
  Json settings;
  for (const auto& [key, variable] :
       std::array<std::pair<const char*, const char*>, 3>{{{"broker", "QUORVIN_REMOTE_BROKER"},
                                                           {"page", "QUORVIN_REMOTE_PAGE"},
                                                           {"caFile", "QUORVIN_REMOTE_CA_FILE"}}}) {
    auto value = environmentVariable(variable);
    if (!value.empty()) settings[key] = std::move(value);
  }
  if (!settings.contains("broker")) {
    return readRemoteConfig(std::filesystem::path(g_get_user_config_dir()) / "com.quorvin.support" /
                            "remote.json");
  }
  try {
    return parseRemoteConfig(settings);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(std::string("QUORVIN_REMOTE_...: ") + error.what());
  }
}

}  // namespace quorvin::webui
