#import "tests/macos/frameworks/Foundation/Support.h"

NSExceptionName const NSRangeException = @"NSRangeException";
NSExceptionName const NSInvalidArgumentException = @"NSInvalidArgumentException";

@implementation NSException

@synthesize name = _name;
@synthesize reason = _reason;
@synthesize userInfo = _userInfo;

- (instancetype)initWithName:(NSExceptionName)aName
                      reason:(NSString*)aReason
                    userInfo:(NSDictionary*)aUserInfo {
  self = [super init];
  _name = [aName copy];
  _reason = [aReason copy];
  _userInfo = [aUserInfo copy];
  return self;
}

- (void)dealloc {
  [_name release];
  [_reason release];
  [_userInfo release];
  [super dealloc];
}

@end

namespace standin {

void raiseInvalidArgument(const std::string& reason) {
  @throw autoreleased([[NSException alloc] initWithName:NSInvalidArgumentException
                                                 reason:stringOf(std::string_view(reason))
                                               userInfo:nil]);
}

void raiseRange(const std::string& reason) {
  @throw autoreleased([[NSException alloc] initWithName:NSRangeException
                                                 reason:stringOf(std::string_view(reason))
                                               userInfo:nil]);
}

}  // namespace standin
