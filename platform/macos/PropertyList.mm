#import "platform/macos/PropertyList.h"

#import <Foundation/Foundation.h>

#include <variant>

#import "platform/macos/Bridging.h"

namespace quorvin {
namespace {

struct PropertyListMaker : PlainObjectMaker {
  using PlainObjectMaker::operator();
  id operator()(const List& list) const {
    NSMutableArray* array = [NSMutableArray arrayWithCapacity:list.size()];
    for (const auto& element : list) [array addObject:std::visit(*this, element.variant())];
    return array;
  }
  id operator()(const Map& map) const {
    NSMutableDictionary* dictionary = [NSMutableDictionary dictionaryWithCapacity:map.size()];
    for (const auto& [key, element] : map.entries()) {
      [dictionary setObject:std::visit(*this, element.variant())
                     forKey:std::visit(*this, key.variant())];
    }
    return dictionary;
  }
  id operator()(const Data& data) const {
    return [NSData dataWithBytes:data.data() length:data.size()];
  }
  // Numbers of one type and null, which no property list can hold, are left for the system to
  // refuse.
  template <typename Other>
  id operator()(const Other& /*value*/) const {
    return NSNull.null;
  }
};

}  // namespace

Data MacPropertyList::xmlData(const Value& propertyList) {
  NSError* error = nil;
  id object = std::visit(PropertyListMaker(), propertyList.variant());
  NSData* xml = [NSPropertyListSerialization dataWithPropertyList:object
                                                           format:NSPropertyListXMLFormat_v1_0
                                                          options:0
                                                            error:&error];
  if (xml == nil) throw toError(error);
  return toData(xml);
}

}  // namespace quorvin
