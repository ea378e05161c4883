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

id required(id object) {
  if (object == nil) raiseNilElement();
  return object;
}

}  // namespace

@implementation NSArray

- (instancetype)init {
  return [super init];
}

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

- (id)objectAtIndex:(NSUInteger)index {
  if (index >= objects.size()) {
    standin::raiseRange("-[NSArray objectAtIndex:]: index " + std::to_string(index) +
                        " beyond bounds for " + std::to_string(objects.size()) + " objects");
  }
  return objects[index];
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (id)mutableCopyWithZone:(NSZone*)zone {
  return [[NSMutableArray alloc] initWithObjects:objects.data() count:objects.size()];
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
  return [object isKindOfClass:[NSArray class]] && [self isEqualToArray:object];
}

- (NSUInteger)hash {
  return objects.size();
}

- (NSString*)description {
  std::u16string text = u"(";
  for (id object : objects) text += u"\n    " + standin::descriptionOf(object) + u",";
  if (!objects.empty()) text.back() = u'\n';
  return standin::stringOf(text + u")");
}

- (Class)standInTypeClass {
  return [NSArray class];
}

@end

@implementation NSArray (NSExtendedArray)

- (NSArray*)arrayByAddingObject:(id)anObject {
  auto more = objects;
  more.push_back(anObject);
  return [NSArray arrayWithObjects:more.data() count:more.size()];
}

- (BOOL)containsObject:(id)anObject {
  return [self indexOfObject:anObject] != static_cast<NSUInteger>(NSNotFound);
}

- (NSUInteger)indexOfObject:(id)anObject {
  const auto found =
      std::ranges::find_if(objects, [anObject](id object) { return [object isEqual:anObject]; });
  if (found == objects.end()) return NSNotFound;
  return static_cast<NSUInteger>(found - objects.begin());
}

- (BOOL)isEqualToArray:(NSArray*)other {
  return std::ranges::equal(objects, other->objects,
                            [](id left, id right) { return [left isEqual:right]; });
}

- (id)firstObject {
  return objects.empty() ? nil : objects.front();
}

- (id)lastObject {
  return objects.empty() ? nil : objects.back();
}

- (id)objectAtIndexedSubscript:(NSUInteger)index {
  return [self objectAtIndex:index];
}

- (void)enumerateObjectsUsingBlock:(void(NS_NOESCAPE ^)(id, NSUInteger, BOOL*))block {
  BOOL stop = NO;
  for (NSUInteger index = 0; index < objects.size() && !stop; ++index) {
    block(objects[index], index, &stop);
  }
}

@end

@implementation NSArray (NSArrayCreation)

+ (instancetype)array {
  return autoreleased([[self alloc] init]);
}

+ (instancetype)arrayWithObject:(id)anObject {
  return [self arrayWithObjects:&anObject count:1];
}

+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count {
  return autoreleased([[self alloc] initWithObjects:objects count:count]);
}

+ (instancetype)arrayWithObjects:(id)firstObject, ... {
  std::vector<id> listed;
  va_list arguments;
  va_start(arguments, firstObject);
  for (id object = firstObject; object != nil; object = va_arg(arguments, id)) {
    listed.push_back(object);
  }
  va_end(arguments);
  return [self arrayWithObjects:listed.data() count:listed.size()];
}

+ (instancetype)arrayWithArray:(NSArray*)array {
  return [self arrayWithObjects:array->objects.data() count:array->objects.size()];
}

@end

@implementation NSMutableArray

- (id)copyWithZone:(NSZone*)zone {
  return [[NSArray alloc] initWithObjects:objects.data() count:objects.size()];
}

- (void)addObject:(id)anObject {
  [self insertObject:anObject atIndex:objects.size()];
}

- (void)insertObject:(id)anObject atIndex:(NSUInteger)index {
  if (index > objects.size()) standin::raiseRange("-[NSMutableArray insertObject:atIndex:]");
  objects.insert(objects.begin() + static_cast<std::ptrdiff_t>(index), [required(anObject) retain]);
  ++mutations;
}

- (void)removeLastObject {
  if (objects.empty()) standin::raiseRange("-[NSMutableArray removeLastObject]");
  [self removeObjectAtIndex:objects.size() - 1];
}

- (void)removeObjectAtIndex:(NSUInteger)index {
  id removed = [self objectAtIndex:index];
  objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(index));
  ++mutations;
  [removed release];
}

- (void)replaceObjectAtIndex:(NSUInteger)index withObject:(id)anObject {
  id replaced = [self objectAtIndex:index];
  objects[index] = [required(anObject) retain];
  [replaced release];
}

@end

@implementation NSMutableArray (NSExtendedMutableArray)

- (void)removeAllObjects {
  while (!objects.empty()) [self removeLastObject];
}

- (void)removeObject:(id)anObject {
  for (auto index = objects.size(); index-- > 0;) {
    if ([objects[index] isEqual:anObject]) [self removeObjectAtIndex:index];
  }
}

- (void)setObject:(id)object atIndexedSubscript:(NSUInteger)index {
  if (index == objects.size()) {
    [self addObject:object];
  } else {
    [self replaceObjectAtIndex:index withObject:object];
  }
}

@end

@implementation NSMutableArray (NSMutableArrayCreation)

+ (instancetype)arrayWithCapacity:(NSUInteger)capacity {
  return [self array];
}

@end
