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
  if (![object isKindOfClass:[NSDictionary class]] || keys.size() != [object count]) return NO;
  for (std::size_t index = 0; index < keys.size(); ++index) {
    if (![objects[index] isEqual:[object objectForKey:keys[index]]]) return NO;
  }
  return YES;
}

@end

@implementation NSDictionary (NSExtendedDictionary)

- (id)objectForKeyedSubscript:(id)key {
  return [self objectForKey:key];
}

@end

@implementation NSDictionary (NSDictionaryCreation)

+ (instancetype)dictionary {
  return autoreleased([[self alloc] init]);
}

+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id<NSCopying>[])keys
                                count:(NSUInteger)count {
  return autoreleased([[self alloc] initWithObjects:objects forKeys:keys count:count]);
}

@end

@implementation NSMutableDictionary

- (id)copyWithZone:(NSZone*)zone {
  return [[NSDictionary alloc] initWithObjects:objects.data()
                                       forKeys:keys.data()
                                         count:keys.size()];
}

- (void)setObject:(id)anObject forKey:(id<NSCopying>)aKey {
  [self putObject:anObject forKey:aKey];
}

- (void)setObject:(id)object forKeyedSubscript:(id<NSCopying>)key {
  [self putObject:object forKey:key];
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
