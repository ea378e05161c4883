#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "tests/macos/runtime/Classes.h"
#include "tests/macos/runtime/MessageSend.h"
#include "tests/macos/runtime/References.h"

// Values that an object carries under keys of others, until it dies.

namespace objc {
namespace {

enum Policy : std::uintptr_t { assignPolicy = 0, copyBit = 2 };

struct Association {
  Object* value = nullptr;
  bool isOwned = false;
};

struct Table {
  std::mutex mutex;
  std::unordered_map<Object*, std::map<const void*, Association>> byObject;
};

Table& table() {
  static auto& theTable = *new Table;
  return theTable;
}

Object* owned(Object* value, std::uintptr_t policy) {
  static const auto copy = registerSelector("copyWithZone:");
  if ((policy & copyBit) != 0) return send(value, copy, static_cast<void*>(nullptr));
  return objc_retain(value);
}

void drop(const Association& association) {
  if (association.isOwned) objc_release(association.value);
}

}  // namespace

void removeAssociations(Object* object) {
  std::map<const void*, Association> removed;
  {
    const std::lock_guard guard(table().mutex);
    auto node = table().byObject.extract(object);
    if (node.empty()) return;
    removed = std::move(node.mapped());
  }
  for (const auto& [key, association] : removed) drop(association);
}

}  // namespace objc

extern "C" {

void objc_setAssociatedObject(objc::Object* object, const void* key, objc::Object* value,
                              std::uintptr_t policy) {
  objc::Association association{value, policy != objc::assignPolicy};
  if (association.isOwned) association.value = objc::owned(value, policy);
  {
    const std::lock_guard guard(objc::table().mutex);
    std::swap(objc::table().byObject[object][key], association);
  }
  objc::drop(association);
}

objc::Object* objc_getAssociatedObject(objc::Object* object, const void* key) {
  objc::Association association;
  {
    const std::lock_guard guard(objc::table().mutex);
    const auto found = objc::table().byObject.find(object);
    if (found == objc::table().byObject.end()) return nullptr;
    const auto entry = found->second.find(key);
    if (entry == found->second.end()) return nullptr;
    association = entry->second;
    if (association.isOwned) objc_retain(association.value);
  }
  return association.isOwned ? objc_autoreleaseReturnValue(association.value) : association.value;
}

}  // extern "C"
