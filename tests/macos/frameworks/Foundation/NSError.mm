#import "tests/macos/frameworks/Foundation/Support.h"

#include <cstring>

NSErrorDomain const NSCocoaErrorDomain = @"NSCocoaErrorDomain";
NSErrorDomain const NSPOSIXErrorDomain = @"NSPOSIXErrorDomain";
NSErrorDomain const NSOSStatusErrorDomain = @"NSOSStatusErrorDomain";

NSErrorUserInfoKey const NSUnderlyingErrorKey = @"NSUnderlyingError";
NSErrorUserInfoKey const NSLocalizedDescriptionKey = @"NSLocalizedDescription";
NSErrorUserInfoKey const NSLocalizedFailureReasonErrorKey = @"NSLocalizedFailureReason";
NSErrorUserInfoKey const NSFilePathErrorKey = @"NSFilePath";

@implementation NSError

@synthesize domain = _domain;
@synthesize code = _code;
@synthesize userInfo = _userInfo;

+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary*)dict {
  return autoreleased([[self alloc] initWithDomain:domain code:code userInfo:dict]);
}

- (instancetype)init {
  return [self initWithDomain:@"" code:0 userInfo:nil];
}

- (instancetype)initWithDomain:(NSErrorDomain)domain
                          code:(NSInteger)code
                      userInfo:(NSDictionary*)dict {
  if (domain == nil)
    standin::raiseInvalidArgument("-[NSError initWithDomain:]: domain cannot be nil");
  self = [super init];
  _domain = [domain copy];
  _code = code;
  _userInfo = dict == nil ? [@{} retain] : [dict copy];
  return self;
}

- (void)dealloc {
  [_domain release];
  [_userInfo release];
  [super dealloc];
}

- (NSString*)localizedDescription {
  if (NSString* given = _userInfo[NSLocalizedDescriptionKey]) return given;
  if ([_domain isEqualToString:NSPOSIXErrorDomain]) {
    return [NSString stringWithFormat:@"The operation couldn’t be completed. %s",
                                      std::strerror(static_cast<int>(_code))];
  }
  if (NSString* reason = _userInfo[NSLocalizedFailureReasonErrorKey]) {
    return [NSString stringWithFormat:@"The operation couldn’t be completed. %@", reason];
  }
  return [NSString
      stringWithFormat:@"The operation couldn’t be completed. (%@ error %ld.)", _domain, _code];
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[NSError class]]) return NO;
  NSError* other = object;
  return _code == other.code && [_domain isEqualToString:other.domain] &&
         [_userInfo isEqual:other.userInfo];
}

- (NSUInteger)hash {
  return static_cast<NSUInteger>(_code) ^ _domain.hash;
}

- (NSString*)description {
  return [NSString stringWithFormat:@"Error Domain=%@ Code=%ld \"%@\"", _domain, _code,
                                    self.localizedDescription];
}

@end
