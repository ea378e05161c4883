#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Permissions.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"

namespace quorvin::fakes {

class FakeUserDefaults final : public UserDefaults {
 public:
  std::map<std::string, bool> booleans;
  std::map<std::string, std::string> strings;

  bool boolForKey(const std::string& key) override {
    const auto entry = booleans.find(key);
    return entry != booleans.end() && entry->second;
  }
  std::optional<std::string> stringForKey(const std::string& key) override {
    const auto entry = strings.find(key);
    return entry == strings.end() ? std::nullopt : std::optional(entry->second);
  }
};

class FakePermissions final : public Permissions {
 public:
  bool screenRecording = true;
  bool accessibility = true;
  std::optional<std::string> name = "Front desk";
  std::vector<std::string> calls;

  bool preflightScreenCaptureAccess() override {
    calls.emplace_back("preflightScreenCaptureAccess");
    return screenRecording;
  }
  bool requestScreenCaptureAccess() override {
    calls.emplace_back("requestScreenCaptureAccess");
    return screenRecording;
  }
  bool isProcessTrusted() override {
    calls.emplace_back("isProcessTrusted");
    return accessibility;
  }
  bool isProcessTrustedWithOptions(bool prompt) override {
    calls.emplace_back(prompt ? "isProcessTrustedWithOptions prompting"
                              : "isProcessTrustedWithOptions");
    return accessibility;
  }
  std::optional<std::string> copyComputerName() override { return name; }
};

// Takes every code point for a character of its own.
class FakeText final : public Text {
 public:
  std::string prefix(std::string_view utf8, std::size_t count) override {
    std::string kept;
    for (const char byte : utf8) {
      const bool startsCharacter = (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
      if (startsCharacter && count-- == 0) break;
      kept += byte;
    }
    return kept;
  }
};

}  // namespace quorvin::fakes
