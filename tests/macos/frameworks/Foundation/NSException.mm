#import "tests/macos/frameworks/Foundation/Support.h"

NSExceptionName const NSGenericException = @"NSGenericException";
NSExceptionName const NSRangeException = @"NSRangeException";
NSExceptionName const NSInvalidArgumentException = @"NSInvalidArgumentException";
NSExceptionName const NSInternalInconsistencyException = @"NSInternalInconsistencyException";
NSExceptionName const NSFileHandleOperationException = @"NSFileHandleOperationException";

@implementation NSException

@synthesize name = _name;
@synthesize reason = _reason;
@synthesize userInfo = _userInfo;

+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(NSString*)reason
                         userInfo:(NSDictionary*)userInfo {
  return autoreleased([[self alloc] initWithName:name reason:reason userInfo:userInfo]);
}

- (instancetype)init {
  return [self initWithName:NSGenericException reason:nil userInfo:nil];
}

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

- (void)raise {
  @throw self;
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (NSString*)description {
  return _reason == nil ? _name : _reason;
}

@end

@implementation NSException (NSExceptionRaisingConveniences)

+ (void)raise:(NSExceptionName)name format:(NSString*)format, ... {
  va_list arguments;
  va_start(arguments, format);
  NSString* reason = standin::stringOf(standin::formatted(format, arguments));
  va_end(arguments);
  [[self exceptionWithName:name reason:reason userInfo:nil] raise];
}

@end

namespace standin {

void raiseInvalidArgument(const std::string& reason) {
  @throw [NSException exceptionWithName:NSInvalidArgumentException
                                 reason:stringOf(std::string_view(reason))
                               userInfo:nil];
}

void raiseRange(const std::string& reason) {
  @throw [NSException exceptionWithName:NSRangeException
                                 reason:stringOf(std::string_view(reason))
                               userInfo:nil];
}

}  // namespace standin
