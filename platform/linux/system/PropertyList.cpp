#include "platform/linux/system/PropertyList.h"

#include <plist/plist.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/Error.h"

namespace quorvin {
namespace {

struct FreeNode {
  void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

[[noreturn]] void refuse(const std::string& what) {
  throw Error("com.quorvin.support.propertylist", 1, "A property list cannot hold " + what + ".");
}

const char* xmlText(const std::string& text) {
  if (text.find('\0') != std::string::npos) refuse("a text with a NUL character in it");
  return text.c_str();
}

Node nodeFor(const Value& value);

Node listNode(const List& list) {
  Node node(plist_new_array());
  for (const auto& element : list) plist_array_append_item(node.get(), nodeFor(element).release());
  return node;
}

Node mapNode(const Map& map) {
  Node node(plist_new_dict());
  for (const auto& [key, value] : map.entries()) {
    const auto* name = key.as<std::string>();
    if (name == nullptr) refuse("a key that is no text");
    plist_dict_set_item(node.get(), xmlText(*name), nodeFor(value).release());
  }
  return node;
}

Node dataNode(const Data& data) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes are chars to the library
  return Node(plist_new_data(reinterpret_cast<const char*>(data.data()), data.size()));
}

Node nodeFor(const Value& value) {
  return std::visit(
      [](const auto& held) -> Node {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, bool>) {
          return Node(plist_new_bool(held ? 1 : 0));
        } else if constexpr (std::is_same_v<Held, std::int64_t>) {
          // The library knows signed numbers by what their unsigned bits say.
          if (held < 0) refuse("a negative number");
          return Node(plist_new_uint(static_cast<std::uint64_t>(held)));
        } else if constexpr (std::is_same_v<Held, double>) {
          return Node(plist_new_real(held));
        } else if constexpr (std::is_same_v<Held, std::string>) {
          return Node(plist_new_string(xmlText(held)));
        } else if constexpr (std::is_same_v<Held, Data>) {
          return dataNode(held);
        } else if constexpr (std::is_same_v<Held, List>) {
          return listNode(held);
        } else if constexpr (std::is_same_v<Held, Map>) {
          return mapNode(held);
        } else {
          refuse("this kind of value");
        }
      },
      value.variant());
}

}  // namespace

Data LinuxPropertyList::xmlData(const Value& propertyList) {
  const auto root = nodeFor(propertyList);
  char* text = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(root.get(), &text, &length);
  const std::unique_ptr<char, decltype(&plist_to_xml_free)> xml(text, &plist_to_xml_free);
  if (xml == nullptr) refuse("so much");
  return Data(Bytes(xml.get(), xml.get() + length));
}

}  // namespace quorvin
