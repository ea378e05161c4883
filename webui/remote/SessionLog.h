#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/unix/FileDescriptor.h"

namespace quorvin::webui {

// What happened between this computer and supporters on others: a file that only this user reads,
// with a JSON object on each line, the oldest first, which is also the first to go. Several
// programs of the user may write it at a time. One thread.
class SessionLog {
 public:
  static constexpr std::size_t bytesMax = std::size_t{256} * 1024;
  static constexpr std::size_t newestMax = 100;
  using Clock = std::function<std::int64_t()>;  // seconds since the beginning of 1970, UTC

  // Opens "sessions.jsonl" in this folder, for as long as this lives. When that is not possible,
  // standard error says so, and nothing is kept, as without a folder.
  SessionLog(const std::string& folder, Clock now);

  // With the time as its "time".
  void add(nlohmann::json entry);
  // The newest first.
  [[nodiscard]] nlohmann::json newest() const;

 private:
  [[nodiscard]] std::string read() const;
  void write(std::string_view text, std::size_t at) const;

  Clock now;
  FileDescriptor file;
};

}  // namespace quorvin::webui
