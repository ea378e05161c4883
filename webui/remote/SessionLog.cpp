#include "webui/remote/SessionLog.h"

#include <glib.h>
#include <sys/file.h>

#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/PrivateFolder.h"

namespace quorvin::webui {

using nlohmann::json;

namespace {

std::string isoTime(std::int64_t seconds) {
  const GlibPtr<GDateTime> time(g_date_time_new_from_unix_utc(seconds));
  return GlibPtr<char>(g_date_time_format_iso8601(time.get())).get();
}

}  // namespace

SessionLog::SessionLog(const std::string& folder, Clock now) : now(std::move(now)) {
  if (folder.empty()) return;
  try {
    file = PrivateFolder(folder).hold("sessions.jsonl");
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "quorvin-webui: no log of remote sessions in %s: %s\n", folder.c_str(),
                 error.what());
  }
}

void SessionLog::add(json entry) {
  if (!file.isOpen()) return;
  entry["time"] = isoTime(now());
  // Whoever else of this user's wants to write waits.
  ::flock(file.get(), LOCK_EX);
  const auto before = read();
  auto text = before;
  if (!text.empty() && text.back() != '\n') text += '\n';  // of a write that was cut short
  text += entry.dump(-1, ' ', false, json::error_handler_t::replace) + '\n';
  const bool isFull = text.size() > bytesMax;
  const auto firstKept = isFull ? text.find('\n', text.size() - bytesMax - 1) + 1 : before.size();
  write(std::string_view(text).substr(firstKept), isFull ? 0 : before.size());
  ::flock(file.get(), LOCK_UN);
}

json SessionLog::newest() const {
  auto entries = json::array();
  const auto content = read();
  std::string_view text = content;
  while (!text.empty() && entries.size() < newestMax) {
    if (text.back() == '\n') text.remove_suffix(1);
    const auto start = text.rfind('\n') + 1;
    auto entry = json::parse(text.substr(start), nullptr, false);
    if (entry.is_object()) entries.push_back(std::move(entry));
    text = text.substr(0, start);
  }
  return entries;
}

// One byte more than it should have, if there is more.
std::string SessionLog::read() const {
  std::string text(bytesMax + 1, '\0');
  const auto size = ::pread(file.get(), text.data(), text.size(), 0);
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

// What comes after it goes. A full disk is no reason to end a session.
void SessionLog::write(std::string_view text, std::size_t at) const {
  const auto start = static_cast<off_t>(at);
  const auto written = ::pwrite(file.get(), text.data(), text.size(), start);
  if (written >= 0 && ::ftruncate(file.get(), start + written) != 0) {
    std::fputs("quorvin-webui: the log of remote sessions cannot be cut\n", stderr);
  }
}

}  // namespace quorvin::webui
