#import <Foundation/Foundation.h>

#include <stdexcept>
#include <string>

#include "tests/macos/standin/StandInTest.h"

@interface SpecialException : NSException
@end

@implementation SpecialException
@end

namespace {

using Exception = standin::StandInTest;

[[noreturn]] void raiseSpecial() {
  @throw [[SpecialException alloc] initWithName:@"Special" reason:@"because" userInfo:nil];
}

TEST_F(Exception, IsCaughtByItsClassOrAClassAboveIt) {
  std::string caught;
  @try {
    raiseSpecial();
  } @catch (NSString*) {
    caught = "a string";
  } @catch (SpecialException* exception) {
    caught = exception.name.UTF8String;
  }
  EXPECT_EQ(caught, "Special");
  @try {
    raiseSpecial();
  } @catch (NSException* exception) {
    caught = exception.reason.UTF8String;
  }
  EXPECT_EQ(caught, "because");
}

TEST_F(Exception, PassesAClauseForAnotherClass) {
  bool passed = false;
  @try {
    @try {
      @throw [[NSException alloc] initWithName:@"General" reason:@"number 3" userInfo:nil];
    } @catch (SpecialException*) {
      ADD_FAILURE() << "caught by the wrong clause";
    }
  } @catch (id exception) {
    passed = [[exception reason] isEqualToString:@"number 3"];
  }
  EXPECT_TRUE(passed);
}

TEST_F(Exception, RunsFinallyEitherWay) {
  int finallyRuns = 0;
  @try {
    @try {
      raiseSpecial();
    } @finally {
      ++finallyRuns;
    }
  } @catch (NSException*) {
  } @
  try {
  } @finally {
    ++finallyRuns;
  }
  EXPECT_EQ(finallyRuns, 2);
}

TEST_F(Exception, ThrownAgainIsTheSame) {
  NSException* first = nil;
  NSException* second = nil;
  @try {
    @try {
      raiseSpecial();
    } @catch (NSException* exception) {
      first = exception;
      @throw;
    }
  } @catch (NSException* exception) {
    second = exception;
  }
  EXPECT_NE(first, nil);
  EXPECT_EQ(first, second);
}

TEST_F(Exception, OfCxxPassesObjectiveCClauses) {
  bool caught = false;
  try {
    @try {
      throw std::runtime_error("C++");
    } @catch (NSException*) {
      ADD_FAILURE() << "caught as an Objective-C exception";
    }
  } catch (const std::runtime_error& error) {
    caught = std::string(error.what()) == "C++";
  }
  EXPECT_TRUE(caught);
}

TEST_F(Exception, OfObjectiveCIsCaughtByCxx) {
  bool caughtByClass = false;
  try {
    raiseSpecial();
  } catch (NSException* exception) {
    caughtByClass = [exception.name isEqualToString:@"Special"];
  }
  EXPECT_TRUE(caughtByClass);
  bool caughtByDots = false;
  try {
    raiseSpecial();
  } catch (...) {
    caughtByDots = true;
  }
  EXPECT_TRUE(caughtByDots);
}

TEST_F(Exception, RunsDestructorsOfCxxObjectsOnItsWay) {
  int destroyed = 0;
  struct Guard {
    int& count;
    ~Guard() { ++count; }
  };
  @try {
    const Guard guard{destroyed};
    raiseSpecial();
  } @catch (NSException*) {
  }
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
