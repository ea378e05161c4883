#import "tests/macos/frameworks/Foundation/Support.h"

#include <algorithm>
#include <vector>

@interface NSArray () {
 @protected
  std::vector<id> objects;  // each retained
  unsigned long mutations;
}
@end

namespace {

[[noreturn]] void raiseNilElement() {
  standin::raiseInvalidArgument("-[NSArray]: object cannot be nil");
}

}  // namespace

@implementation NSArray

- (instancetype)initWithObjects:(const id[])newObjects count:(NSUInteger)count {
  self = [super init];
  for (NSUInteger index = 0; index < count; ++index) {
    id object = newObjects[index];
    if (object == nil) {
      [self release];
      raiseNilElement();
    }
    objects.push_back([object retain]);
  }
  return self;
}

- (void)dealloc {
  for (id object : objects) [object release];
  [super dealloc];
}

- (NSUInteger)count {
  return objects.size();
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length {
  if (state->state != 0) return 0;
  state->state = 1;
  state->itemsPtr = objects.data();
  state->mutationsPtr = &mutations;
  return objects.size();
}

- (BOOL)isEqual:(id)object {
  return [object isKindOfClass:[NSArray class]] &&
         std::ranges::equal(objects, static_cast<NSArray*>(object)->objects,
                            [](id left, id right) { return [left isEqual:right]; });
}

@end

@implementation NSArray (NSExtendedArray)

- (id)firstObject {
  return objects.empty() ? nil : objects.front();
}

- (id)objectAtIndexedSubscript:(NSUInteger)index {
  if (index >= objects.size()) {
    standin::raiseRange("-[NSArray objectAtIndexedSubscript:]: index " + std::to_string(index) +
                        " beyond bounds for " + std::to_string(objects.size()) + " objects");
  }
  return objects[index];
}

@end

@implementation NSArray (NSArrayCreation)

+ (instancetype)array {
  return autoreleased([[self alloc] init]);
}

+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count {
  return autoreleased([[self alloc] initWithObjects:objects count:count]);
}

@end

@implementation NSMutableArray

- (id)copyWithZone:(NSZone*)zone {
  return [[NSArray alloc] initWithObjects:objects.data() count:objects.size()];
}

- (void)addObject:(id)anObject {
  if (anObject == nil) raiseNilElement();
  objects.push_back([anObject retain]);
  ++mutations;
}

@end

@implementation NSMutableArray (NSMutableArrayCreation)

+ (instancetype)arrayWithCapacity:(NSUInteger)capacity {
  return [self array];
}

@end
