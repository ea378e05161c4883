#include "webui/remote/DeviceLinkFile.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace quorvin::webui {

namespace {

constexpr const char* name = "device-link";
constexpr std::size_t inboxBytes = std::tuple_size_v<ClientId>;
constexpr std::size_t secretBytes = 32;

}  // namespace

DeviceLinkFile::DeviceLinkFile(const std::string& folderPath, RandomBytes random)
    : path(folderPath + "/" + name), folder(folderPath), random(std::move(random)) {
  if (folder.read(name).empty()) replace();
}

DeviceLinkFile::~DeviceLinkFile() {
  if (monitor) g_signal_handlers_disconnect_by_data(monitor.get(), this);
}

Invitation::DeviceLink DeviceLinkFile::read() const {
  auto content = folder.read(name);
  if (content.size() != inboxBytes + secretBytes) {
    throw std::runtime_error(path + " is damaged; make another with --new-device-link");
  }
  Invitation::DeviceLink link;
  const auto bytes = bytesOf(content);
  std::ranges::copy(bytes.first(inboxBytes), link.inbox.begin());
  std::ranges::copy(bytes.subspan(inboxBytes), link.secret.bytes().begin());
  sodium_memzero(content.data(), content.size());
  return link;
}

void DeviceLinkFile::replace() const {
  Secret<inboxBytes + secretBytes> content;
  random(content.bytes());
  std::string text(content.bytes().begin(), content.bytes().end());
  folder.write(name, text);
  sodium_memzero(text.data(), text.size());
}

void DeviceLinkFile::watch(std::function<void()> handler) {
  onReplaced = std::move(handler);
  const GlibPtr<GFile> file(g_file_new_for_path(path.c_str()));
  monitor.reset(g_file_monitor_file(file.get(), G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr));
  if (!monitor) return;
  // A new file takes the name of the one before.
  const auto onEvent = +[](GFileMonitor*, GFile*, GFile*, GFileMonitorEvent event, gpointer self) {
    const bool isNew =
        event == G_FILE_MONITOR_EVENT_RENAMED || event == G_FILE_MONITOR_EVENT_MOVED_IN;
    if (isNew) static_cast<DeviceLinkFile*>(self)->onReplaced();
  };
  g_signal_connect(monitor.get(), "changed", G_CALLBACK(onEvent), this);
}

}  // namespace quorvin::webui
