#import <Foundation/Foundation.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace {

class NSNotificationTest : public standin::StandInTest {
 protected:
  id observe(NSString* name, id object, NSOperationQueue* queue) {
    return [center addObserverForName:name
                               object:object
                                queue:queue
                           usingBlock:^(NSNotification* notification) {
                             received.emplace_back(notification.name.UTF8String);
                             onMainThread = NSThread.isMainThread;
                           }];
  }

  NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
  std::vector<std::string> received;
  bool onMainThread = false;
};

TEST_F(NSNotificationTest, ReachesObserversOfItsNameAndObject) {
  NSObject* sender = [NSObject new];
  id token = observe(@"a", sender, nil);
  [center postNotificationName:@"a" object:sender];
  [center postNotificationName:@"a" object:[NSObject new]];
  [center postNotificationName:@"b" object:sender];
  EXPECT_THAT(received, testing::ElementsAre("a"));
  [center removeObserver:token];
}

TEST_F(NSNotificationTest, ReachesObserversOfEveryNameAndObject) {
  id token = observe(nil, nil, nil);
  [center postNotificationName:@"a" object:nil];
  [center postNotificationName:@"b" object:@"sender"];
  EXPECT_THAT(received, testing::ElementsAre("a", "b"));
  [center removeObserver:token];
}

TEST_F(NSNotificationTest, ReachesNobodyAfterTheObserverIsRemoved) {
  id token = observe(@"a", nil, nil);
  EXPECT_EQ(standin::notificationObserverCount(), 1U);
  [center removeObserver:token];
  EXPECT_EQ(standin::notificationObserverCount(), 0U);
  [center postNotificationName:@"a" object:nil];
  EXPECT_THAT(received, testing::IsEmpty());
}

TEST_F(NSNotificationTest, IsDeliveredAtOnceWhenPostedOnTheMainThread) {
  id token = observe(@"a", nil, NSOperationQueue.mainQueue);
  [center postNotificationName:@"a" object:nil];
  EXPECT_THAT(received, testing::ElementsAre("a"));
  [center removeObserver:token];
}

TEST_F(NSNotificationTest, IsDeliveredOnTheMainThreadWhenPostedElsewhere) {
  id token = observe(@"a", nil, NSOperationQueue.mainQueue);
  standin::onSystemThread([this] { [this->center postNotificationName:@"a" object:nil]; });
  standin::settle();
  EXPECT_THAT(received, testing::ElementsAre("a"));
  EXPECT_TRUE(onMainThread);
  [center removeObserver:token];
}

TEST_F(NSNotificationTest, IsDeliveredOnThePostingThreadWithoutAQueue) {
  id token = observe(@"a", nil, nil);
  onMainThread = true;
  standin::onSystemThread([this] { [this->center postNotificationName:@"a" object:nil]; });
  standin::settle();
  EXPECT_FALSE(onMainThread);
  [center removeObserver:token];
}

TEST_F(NSNotificationTest, CarriesItsObjectAndInformation) {
  __block NSDictionary* information = nil;
  id token = [center addObserverForName:@"a"
                                 object:nil
                                  queue:nil
                             usingBlock:^(NSNotification* notification) {
                               information = notification.userInfo;
                             }];
  [center postNotificationName:@"a" object:nil userInfo:@{@"key" : @1}];
  EXPECT_TRUE([information isEqual:@{@"key" : @1}]);
  [center removeObserver:token];
}

}  // namespace
