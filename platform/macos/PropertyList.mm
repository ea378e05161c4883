#import "platform/macos/PropertyList.h"

#import <Foundation/Foundation.h>

#import "platform/macos/Bridging.h"
#import "platform/macos/FlutterValue.h"

namespace quorvin {
namespace {

// Typed data and null, which no property list can hold, are left for the system to refuse.
id propertyListObject(const Value& value) {
  if (const auto* list = value.as<List>()) {
    NSMutableArray* array = [NSMutableArray arrayWithCapacity:list->size()];
    for (const auto& element : *list) [array addObject:propertyListObject(element)];
    return array;
  }
  if (const auto* map = value.as<Map>()) {
    NSMutableDictionary* dictionary = [NSMutableDictionary dictionaryWithCapacity:map->size()];
    for (const auto& [key, element] : map->entries()) {
      [dictionary setObject:propertyListObject(element) forKey:propertyListObject(key)];
    }
    return dictionary;
  }
  if (const auto* data = value.as<Data>()) {
    return [NSData dataWithBytes:data->data() length:data->size()];
  }
  id object = toObject(value);
  return object == nil ? NSNull.null : object;
}

}  // namespace

Data MacPropertyList::xmlData(const Value& propertyList) {
  NSError* error = nil;
  NSData* xml = [NSPropertyListSerialization dataWithPropertyList:propertyListObject(propertyList)
                                                           format:NSPropertyListXMLFormat_v1_0
                                                          options:0
                                                            error:&error];
  if (xml == nil) throw toError(error);
  return toData(xml);
}

}  // namespace quorvin
