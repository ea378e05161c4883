#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Error.h"
#include "platform/Permissions.h"
#include "platform/PropertyList.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"
#include "tests/fakes/FailurePlan.h"

namespace quorvin::fakes {

class FakeUserDefaults final : public UserDefaults {
 public:
  std::map<std::string, bool> booleans;
  std::map<std::string, std::string> strings;
  // What another process would read.
  std::map<std::string, bool> storedBooleans;
  std::map<std::string, std::string> storedStrings;
  std::vector<std::string> changes;
  FailurePlan* plan = nullptr;

  void setBool(bool value, const std::string& key) override {
    changes.push_back("setBool " + key);
    booleans[key] = value;
  }
  void setString(const std::string& value, const std::string& key) override {
    changes.push_back("setString " + key);
    strings[key] = value;
  }
  void removeObject(const std::string& key) override {
    changes.push_back("removeObject " + key);
    booleans.erase(key);
    strings.erase(key);
  }
  void synchronize() override {
    changes.emplace_back("synchronize");
    if (plan != nullptr) plan->step("synchronize");
    storedBooleans = booleans;
    storedStrings = strings;
  }

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
  std::optional<std::string> copyComputerName() override {
    calls.emplace_back("copyComputerName");
    return name;
  }
};

// Remembers what it was given; what it writes only says that it wrote.
class FakePropertyList final : public PropertyList {
 public:
  std::vector<Value> written;
  FailurePlan* plan = nullptr;
  std::optional<Error> error;  // why nothing can be written

  Data xmlData(const Value& propertyList) override {
    if (error) throw Error(*error);
    if (plan != nullptr) plan->step("xmlData");
    written.push_back(propertyList);
    return Data(Bytes{'l', 'i', 's', 't', static_cast<std::uint8_t>('0' + written.size())});
  }
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
