#import "tests/macos/frameworks/Foundation/Support.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "tests/macos/frameworks/Foundation/FoundationState.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

@interface NSNotification () {
 @public
  NSString* _name;
  id _object;
}
@end

@implementation NSNotification

@synthesize name = _name;
@synthesize object = _object;

- (void)dealloc {
  [_name release];
  [_object release];
  [super dealloc];
}

@end

@implementation NSNotification (NSNotificationCreation)

+ (instancetype)notificationWithName:(NSNotificationName)aName object:(id)anObject {
  NSNotification* notification = [[self alloc] init];
  notification->_name = [aName copy];
  notification->_object = [anObject retain];
  return autoreleased(notification);
}

@end

typedef void (^NotificationBlock)(NSNotification*);

// What an observer is called for. It is the token that ends the observation.
@interface StandInObserver : NSObject {
 @public
  NSString* name;      // nil observes every name
  const void* object;  // not retained, as Foundation does not; null observes every object
  NSOperationQueue* queue;
  NotificationBlock block;
}
@end

@implementation StandInObserver

- (void)dealloc {
  [name release];
  [queue release];
  [block release];
  [super dealloc];
}

- (bool)wants:(NSNotification*)notification {
  return (name == nil || [name isEqualToString:notification.name]) &&
         (object == nullptr || object == notification.object);
}

// On the main queue an observer is called at once when the notification is posted there.
- (void)receive:(NSNotification*)notification {
  if (queue == nil || standin::isMainThread()) {
    block(notification);
    return;
  }
  NotificationBlock called = block;
  [queue addOperationWithBlock:^{
    called(notification);
  }];
}

@end

namespace standin {
namespace {

struct Observers {
  std::mutex mutex;
  std::vector<Kept> list;
};

Observers& observers() {
  static auto& theObservers = *new Observers;
  return theObservers;
}

std::vector<Kept> observersNow() {
  const std::lock_guard guard(observers().mutex);
  return observers().list;
}

}  // namespace

void resetNotifications() {
  std::vector<Kept> dropped;
  const std::lock_guard guard(observers().mutex);
  dropped.swap(observers().list);
}

std::size_t notificationObserverCount() { return observersNow().size(); }

}  // namespace standin

@implementation NSNotificationCenter

+ (NSNotificationCenter*)defaultCenter {
  static NSNotificationCenter* const center =
      standin::immortal([[NSNotificationCenter alloc] init]);
  return center;
}

- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)obj
                             queue:(NSOperationQueue*)queue
                        usingBlock:(NotificationBlock)block {
  standin::record("-[NSNotificationCenter addObserverForName:object:queue:usingBlock:]",
                  {standin::utf8Of(name)});
  StandInObserver* observer = [[StandInObserver alloc] init];
  observer->name = [name copy];
  observer->object = obj;
  observer->queue = [queue retain];
  observer->block = [block copy];
  {
    const std::lock_guard guard(standin::observers().mutex);
    standin::observers().list.push_back(standin::kept(observer));
  }
  return autoreleased(observer);
}

- (void)removeObserver:(id)observer {
  standin::record("-[NSNotificationCenter removeObserver:]");
  standin::Kept removed;
  const std::lock_guard guard(standin::observers().mutex);
  auto& list = standin::observers().list;
  const auto found =
      std::ranges::find_if(list, [observer](const auto& each) { return each.get() == observer; });
  if (found == list.end()) return;
  removed = std::move(*found);
  list.erase(found);
}

- (void)postNotification:(NSNotification*)notification {
  for (const auto& each : standin::observersNow()) {
    auto* observer = static_cast<StandInObserver*>(each.get());
    if ([observer wants:notification]) [observer receive:notification];
  }
}

- (void)postNotificationName:(NSNotificationName)aName object:(id)anObject {
  [self postNotification:[NSNotification notificationWithName:aName object:anObject]];
}

@end
