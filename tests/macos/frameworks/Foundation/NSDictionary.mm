#import "tests/macos/frameworks/Foundation/Support.h"

#include <algorithm>
#include <optional>
#include <vector>

// In the order of insertion. A real dictionary has no order, so nothing may rely on one.
@interface NSDictionary () {
 @protected
  std::vector<id> keys;     // each a copy
  std::vector<id> objects;  // each retained, beside its key
  unsigned long mutations;
}
- (std::optional<std::size_t>)indexOfKey:(id)key;
- (void)putObject:(id)object forKey:(id)key;
@end

namespace {

[[noreturn]] void raiseNilEntry() {
  standin::raiseInvalidArgument("-[NSDictionary]: neither key nor object can be nil");
}

}  // namespace

@implementation NSDictionary

- (instancetype)init {
  return [super init];
}

- (instancetype)initWithObjects:(const id[])newObjects
                        forKeys:(const id<NSCopying>[])newKeys
                          count:(NSUInteger)count {
  self = [super init];
  for (NSUInteger index = 0; index < count; ++index) {
    if (newObjects[index] == nil || newKeys[index] == nil) {
      [self release];
      raiseNilEntry();
    }
    [self putObject:newObjects[index] forKey:newKeys[index]];
  }
  return self;
}

- (void)dealloc {
  for (id key : keys) [key release];
  for (id object : objects) [object release];
  [super dealloc];
}

- (std::optional<std::size_t>)indexOfKey:(id)key {
  const auto found = std::ranges::find_if(keys, [key](id each) { return [each isEqual:key]; });
  if (found == keys.end()) return std::nullopt;
  return static_cast<std::size_t>(found - keys.begin());
}

- (void)putObject:(id)object forKey:(id)key {
  if (object == nil || key == nil) raiseNilEntry();
  [object retain];
  ++mutations;
  if (const auto index = [self indexOfKey:key]) {
    [objects[*index] release];
    objects[*index] = object;
    return;
  }
  keys.push_back([key copy]);
  objects.push_back(object);
}

- (NSUInteger)count {
  return keys.size();
}

- (id)objectForKey:(id)aKey {
  const auto index = [self indexOfKey:aKey];
  return index ? objects[*index] : nil;
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (id)mutableCopyWithZone:(NSZone*)zone {
  return [[NSMutableDictionary alloc] initWithObjects:objects.data()
                                              forKeys:keys.data()
                                                count:keys.size()];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length {
  if (state->state != 0) return 0;
  state->state = 1;
  state->itemsPtr = keys.data();
  state->mutationsPtr = &mutations;
  return keys.size();
}

- (BOOL)isEqual:(id)object {
  return [object isKindOfClass:[NSDictionary class]] && [self isEqualToDictionary:object];
}

- (NSUInteger)hash {
  return keys.size();
}

- (NSString*)description {
  std::u16string text = u"{\n";
  for (std::size_t index = 0; index < keys.size(); ++index) {
    text += u"    " + standin::descriptionOf(keys[index]) + u" = " +
            standin::descriptionOf(objects[index]) + u";\n";
  }
  return standin::stringOf(text + u"}");
}

- (Class)standInTypeClass {
  return [NSDictionary class];
}

@end

@implementation NSDictionary (NSExtendedDictionary)

- (NSArray*)allKeys {
  return [NSArray arrayWithObjects:keys.data() count:keys.size()];
}

- (NSArray*)allValues {
  return [NSArray arrayWithObjects:objects.data() count:objects.size()];
}

- (BOOL)isEqualToDictionary:(NSDictionary*)other {
  if (keys.size() != other.count) return NO;
  for (std::size_t index = 0; index < keys.size(); ++index) {
    if (![objects[index] isEqual:[other objectForKey:keys[index]]]) return NO;
  }
  return YES;
}

- (id)objectForKeyedSubscript:(id)key {
  return [self objectForKey:key];
}

- (void)enumerateKeysAndObjectsUsingBlock:(void(NS_NOESCAPE ^)(id, id, BOOL*))block {
  BOOL stop = NO;
  for (std::size_t index = 0; index < keys.size() && !stop; ++index) {
    block(keys[index], objects[index], &stop);
  }
}

@end

@implementation NSDictionary (NSDictionaryCreation)

+ (instancetype)dictionary {
  return autoreleased([[self alloc] init]);
}

+ (instancetype)dictionaryWithObject:(id)object forKey:(id<NSCopying>)key {
  return [self dictionaryWithObjects:&object forKeys:&key count:1];
}

+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id<NSCopying>[])keys
                                count:(NSUInteger)count {
  return autoreleased([[self alloc] initWithObjects:objects forKeys:keys count:count]);
}

+ (instancetype)dictionaryWithDictionary:(NSDictionary*)dict {
  return [self dictionaryWithObjects:dict->objects.data()
                             forKeys:dict->keys.data()
                               count:dict.count];
}

@end

@implementation NSMutableDictionary

- (id)copyWithZone:(NSZone*)zone {
  return [[NSDictionary alloc] initWithObjects:objects.data()
                                       forKeys:keys.data()
                                         count:keys.size()];
}

- (void)removeObjectForKey:(id)aKey {
  const auto found = [self indexOfKey:aKey];
  if (!found) return;
  const auto index = static_cast<std::ptrdiff_t>(*found);
  id key = keys[*found];
  id object = objects[*found];
  keys.erase(keys.begin() + index);
  objects.erase(objects.begin() + index);
  ++mutations;
  [key release];
  [object release];
}

- (void)setObject:(id)anObject forKey:(id<NSCopying>)aKey {
  [self putObject:anObject forKey:aKey];
}

@end

@implementation NSMutableDictionary (NSExtendedMutableDictionary)

- (void)addEntriesFromDictionary:(NSDictionary*)otherDictionary {
  for (id key in otherDictionary) [self putObject:otherDictionary[key] forKey:key];
}

- (void)removeAllObjects {
  while (!keys.empty()) [self removeObjectForKey:keys.back()];
}

- (void)setObject:(id)object forKeyedSubscript:(id<NSCopying>)key {
  if (object == nil) {
    [self removeObjectForKey:key];
  } else {
    [self putObject:object forKey:key];
  }
}

@end

@implementation NSMutableDictionary (NSMutableDictionaryCreation)

+ (instancetype)dictionaryWithCapacity:(NSUInteger)capacity {
  return [self dictionary];
}

@end

// What the compiler takes for @[] and @{}.
extern "C" {
extern id __NSArray0__;
extern id __NSDictionary0__;
id __NSArray0__;
id __NSDictionary0__;
}

namespace {

// Right after the image is loaded, for static objects may use the literals already.
[[gnu::constructor(102)]] void makeEmptyCollections() {
  __NSArray0__ = standin::immortal([[NSArray alloc] init]);
  __NSDictionary0__ = standin::immortal([[NSDictionary alloc] init]);
}

}  // namespace
