#import <Foundation/Foundation.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

// Messages, classes, categories and protocols.

namespace {

struct LargeValue {
  double numbers[9];
};

struct MixedValue {
  double fraction;
  long whole;
};

}  // namespace

@protocol MessageSink <NSObject>
- (int)required;
@optional
- (int)optional;
@end

@interface Messages : NSObject <MessageSink>
@property(nonatomic) CGRect frame;
- (LargeValue)largeValueOf:(double)number in:(LargeValue)value;
- (MixedValue)mixedValueOf:(double)number;
- (long double)longDouble;
- (double)sumOf:(double)a
            and:(double)b
            and:(double)c
            and:(double)d
            and:(double)e
            and:(double)f
            and:(double)g
            and:(double)h
            and:(int)i
            and:(int)j
            and:(int)k
            and:(int)l
            and:(int)m;
- (int)sumOfCount:(int)count, ...;
- (int)answer;
+ (int)answer;
@end

@implementation Messages

- (LargeValue)largeValueOf:(double)number in:(LargeValue)value {
  value.numbers[8] += number;
  return value;
}

- (MixedValue)mixedValueOf:(double)number {
  return {number, static_cast<long>(number) * 2};
}

- (long double)longDouble {
  return 1.5L;
}

- (double)sumOf:(double)a
            and:(double)b
            and:(double)c
            and:(double)d
            and:(double)e
            and:(double)f
            and:(double)g
            and:(double)h
            and:(int)i
            and:(int)j
            and:(int)k
            and:(int)l
            and:(int)m {
  return a + b + c + d + e + f + g + h + i + j + k + l + m;
}

- (int)sumOfCount:(int)count, ... {
  va_list arguments;
  va_start(arguments, count);
  int sum = 0;
  for (; count > 0; --count) sum += va_arg(arguments, int);
  va_end(arguments);
  return sum;
}

- (int)answer {
  return 1;
}

+ (int)answer {
  return 10;
}

- (int)required {
  return 2;
}

@end

@interface MoreMessages : Messages
- (LargeValue)largeValueOf:(double)number in:(LargeValue)value;
@end

@implementation MoreMessages

- (LargeValue)largeValueOf:(double)number in:(LargeValue)value {
  auto result = [super largeValueOf:number in:value];
  result.numbers[0] = 7;
  return result;
}

- (int)answer {
  return [super answer] + 100;
}

+ (int)answer {
  return [super answer] + 100;
}

@end

@interface Messages (Category)
- (int)answerOfCategory;
@end

@implementation Messages (Category)

- (int)answerOfCategory {
  return self.answer + 5;
}

@end

// A subclass whose superclass keeps more in another source than it declares.
@interface WideError : NSError {
  double first;
  std::string second;
}
- (bool)keepsItsOwn;
@end

@implementation WideError

- (bool)keepsItsOwn {
  first = 2.5;
  second = "a text that is too long for the string's own storage";
  return first == 2.5 && second.size() == 52 && [self.domain isEqualToString:@"wide"] &&
         self.code == 7;
}

@end

namespace {

using MessageSend = standin::StandInTest;

TEST_F(MessageSend, CarriesArgumentsInRegistersAndOnTheStack) {
  const auto sum = [[Messages new] sumOf:1
                                     and:2
                                     and:3
                                     and:4
                                     and:5
                                     and:6
                                     and:7
                                     and:8
                                     and:9
                                     and:10
                                     and:11
                                     and:12
                                     and:13];
  EXPECT_EQ(sum, 91);
}

TEST_F(MessageSend, CarriesVariadicArguments) {
  EXPECT_EQ(([[Messages new] sumOfCount:7, 1, 2, 3, 4, 5, 6, 7]), 28);
}

TEST_F(MessageSend, ReturnsAStructThroughMemory) {
  LargeValue value{};
  value.numbers[8] = 1;
  EXPECT_EQ(([[Messages new] largeValueOf:2 in:value].numbers[8]), 3);
}

TEST_F(MessageSend, ReturnsASmallStructInTwoKindsOfRegisters) {
  const auto value = [[Messages new] mixedValueOf:2.5];
  EXPECT_EQ(value.fraction, 2.5);
  EXPECT_EQ(value.whole, 4);
}

TEST_F(MessageSend, ReturnsALongDouble) { EXPECT_EQ([[Messages new] longDouble], 1.5L); }

TEST_F(MessageSend, SuperFindsTheMethodAboveTheClassOfTheSource) {
  EXPECT_EQ([MoreMessages new].answer, 101);
  EXPECT_EQ([MoreMessages answer], 110);
  const auto value = [[MoreMessages new] largeValueOf:3 in:LargeValue{}];
  EXPECT_EQ(value.numbers[0], 7);
  EXPECT_EQ(value.numbers[8], 3);
}

TEST_F(MessageSend, NilAnswersZeroOfEveryType) {
  Messages* nothing = nil;
  EXPECT_EQ(nothing.answer, 0);
  EXPECT_EQ([nothing longDouble], 0.0L);
  EXPECT_EQ([nothing mixedValueOf:1].fraction, 0);
  EXPECT_EQ(([nothing largeValueOf:1 in:LargeValue{{1}}].numbers[0]), 0);
  EXPECT_EQ(nothing.frame.size.width, 0);
  EXPECT_EQ([nothing copy], nil);
}

TEST_F(MessageSend, PropertyOfAStructIsReadAsItWasWritten) {
  Messages* object = [Messages new];
  object.frame = CGRect{{1, 2}, {3, 4}};
  EXPECT_EQ(object.frame.origin.y, 2);
  EXPECT_EQ(object.frame.size.height, 4);
}

TEST_F(MessageSend, CategoryAddsAMethodThatSubclassesInherit) {
  EXPECT_EQ([[Messages new] answerOfCategory], 6);
  EXPECT_EQ([[MoreMessages new] answerOfCategory], 106);
}

TEST_F(MessageSend, MessageThatNobodyUnderstandsRaisesWithItsName) {
  id object = [Messages new];
  NSString* reason = nil;
  @try {
    [object characterAtIndex:1];
  } @catch (NSException* exception) {
    EXPECT_TRUE([exception.name isEqualToString:NSInvalidArgumentException]);
    reason = exception.reason;
  }
  EXPECT_STREQ(reason.UTF8String,
               "-[Messages characterAtIndex:]: unrecognized selector sent to instance");
}

TEST_F(MessageSend, ObjectKnowsItsClassAndSelectors) {
  id object = [MoreMessages new];
  EXPECT_TRUE([object isKindOfClass:[Messages class]]);
  EXPECT_EQ([object class], [MoreMessages class]);
  EXPECT_TRUE([object respondsToSelector:@selector(required)]);
  EXPECT_FALSE([object respondsToSelector:@selector(optional)]);
  EXPECT_TRUE([Messages respondsToSelector:@selector(answer)]);
}

TEST_F(MessageSend, NamesLeadToClassesAndBack) {
  EXPECT_EQ(NSClassFromString(@"Messages"), [Messages class]);
  EXPECT_EQ(NSClassFromString(@"NoSuchClass"), Nil);
  EXPECT_TRUE([NSStringFromClass([Messages class]) isEqualToString:@"Messages"]);
}

TEST_F(MessageSend, VariablesOfASubclassLieBehindTheHiddenOnesOfItsSuperclass) {
  WideError* error = [[WideError alloc] initWithDomain:@"wide" code:7 userInfo:nil];
  EXPECT_TRUE([error keepsItsOwn]);
}

}  // namespace
