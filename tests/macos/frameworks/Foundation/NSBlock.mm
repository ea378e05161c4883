#import "tests/macos/frameworks/Foundation/Support.h"

// The classes of blocks. The compiler refers to them by names of its own, and makes a block on the
// stack or a global one without asking anybody.

@interface __NSBlock : NSObject <NSCopying>
@end

@implementation __NSBlock

- (id)copyWithZone:(NSZone*)zone {
  return static_cast<id>(_Block_copy(self));
}

@end

@interface __NSStackBlock : __NSBlock
@end

@implementation __NSStackBlock
@end

@interface __NSGlobalBlock : __NSBlock
@end

@implementation __NSGlobalBlock
@end

@interface __NSMallocBlock : __NSBlock
@end

@implementation __NSMallocBlock
@end

asm(R"(
.globl _NSConcreteStackBlock, _NSConcreteGlobalBlock
.set _NSConcreteStackBlock, OBJC_CLASS_$___NSStackBlock
.set _NSConcreteGlobalBlock, OBJC_CLASS_$___NSGlobalBlock
)");
