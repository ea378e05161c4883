#pragma once

#import <CoreFoundation/CFCGTypes.h>
