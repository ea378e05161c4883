#include "launchctl/PropertyList.h"

#include <glib.h>

#include <string_view>

#include "launchctl/LaunchctlError.h"

namespace quorvin::launchctl {
namespace {

[[noreturn]] void failKind(const std::string& key, const std::string& kind) {
  throw LaunchctlError("its key " + key + " is not " + kind);
}

// What the keys are for, names and arguments of programs, ends at a NUL.
bool isText(std::string_view bytes) {
  return bytes.find('\0') == std::string_view::npos &&
         g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE;
}

std::optional<std::string> textOf(plist_t node) {
  if (plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t length = 0;
  const char* bytes = plist_get_string_ptr(node, &length);
  std::string found(bytes == nullptr ? "" : bytes, bytes == nullptr ? 0 : length);
  return isText(found) ? std::optional(std::move(found)) : std::nullopt;
}

}  // namespace

PropertyList::PropertyList(const std::string& xml) {
  // The binary form lets a small file stand for a list without end, and nobody writes it here.
  if (plist_is_binary(xml.data(), static_cast<std::uint32_t>(xml.size())) != 0) {
    throw LaunchctlError("it is a binary property list; write it as XML");
  }
  plist_t parsed = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
  root.reset(parsed);
  if (parsed == nullptr || plist_get_node_type(parsed) != PLIST_DICT) {
    throw LaunchctlError("it is not a property list in XML with a dictionary at its root");
  }
}

plist_t PropertyList::item(const char* key) const {
  return plist_dict_get_item(root.get(), key);
}

std::optional<std::string> PropertyList::text(const char* key) const {
  const auto node = item(key);
  if (node == nullptr) return std::nullopt;
  auto found = textOf(node);
  if (!found) failKind(key, "a text in UTF-8");
  return found;
}

std::optional<bool> PropertyList::boolean(const char* key) const {
  const auto node = item(key);
  if (node == nullptr) return std::nullopt;
  if (plist_get_node_type(node) != PLIST_BOOLEAN) failKind(key, "true or false");
  std::uint8_t found = 0;
  plist_get_bool_val(node, &found);
  return found != 0;
}

std::optional<std::vector<std::string>> PropertyList::texts(const char* key) const {
  const auto node = item(key);
  if (node == nullptr) return std::nullopt;
  if (plist_get_node_type(node) != PLIST_ARRAY) failKind(key, "a list of texts");
  std::vector<std::string> found;
  const auto count = plist_array_get_size(node);
  for (std::uint32_t index = 0; index < count; ++index) {
    auto one = textOf(plist_array_get_item(node, index));
    if (!one) failKind(key, "a list of texts in UTF-8");
    found.push_back(std::move(*one));
  }
  return found;
}

}  // namespace quorvin::launchctl
