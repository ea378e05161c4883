#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace quorvin {

// A recoverable failure: the domain names who raised it, the code which failure it is, and the
// description is the one sentence that a person may get to read. Thrown where the caller must
// decide, passed as an optional to completions.
class Error : public std::exception {
 public:
  Error(std::string domain, std::int64_t code, std::string localizedDescription)
      : domain(std::move(domain)),
        code(code),
        localizedDescription(std::move(localizedDescription)) {}

  [[nodiscard]] const char* what() const noexcept override { return localizedDescription.c_str(); }

  friend bool operator==(const Error& a, const Error& b) {
    return a.domain == b.domain && a.code == b.code &&
           a.localizedDescription == b.localizedDescription;
  }

  std::string domain;
  std::int64_t code;
  std::string localizedDescription;
};

// Runs exactly once, without an error on success, on the thread that the operation documents.
using Completion = std::function<void(const std::optional<Error>&)>;

}  // namespace quorvin
