#import "tests/macos/frameworks/Foundation/Support.h"

NSErrorDomain const NSCocoaErrorDomain = @"NSCocoaErrorDomain";

NSErrorUserInfoKey const NSLocalizedDescriptionKey = @"NSLocalizedDescription";

@implementation NSError

@synthesize domain = _domain;
@synthesize code = _code;
@synthesize userInfo = _userInfo;

+ (instancetype)errorWithDomain:(NSErrorDomain)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary*)dict {
  return autoreleased([[self alloc] initWithDomain:domain code:code userInfo:dict]);
}

- (instancetype)initWithDomain:(NSErrorDomain)domain
                          code:(NSInteger)code
                      userInfo:(NSDictionary*)dict {
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
  return standin::stringOf("The operation couldn’t be completed. (" + standin::utf8Of(_domain) +
                           " error " + std::to_string(_code) + ".)");
}

@end
