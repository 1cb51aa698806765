// A lock that a killed program has left on the user's defaults is broken after two seconds. It is held only while a
// small file is read or written, and GNUstep would wait for a quarter of a minute.

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

namespace {

constexpr NSTimeInterval longestHoldSeconds = 2;

using TryLock = BOOL (*)(id, SEL);

TryLock gnustepTryLock;

}  // namespace

@interface NSDistributedLock (QuillmarkDefaultsLock)
@end

@implementation NSDistributedLock (QuillmarkDefaultsLock)

+ (void)load {
  const Method tryLock = class_getInstanceMethod(self, @selector(tryLock));
  const Method replacement = class_getInstanceMethod(self, @selector(quillmarkTryLock));
  const IMP former = method_setImplementation(tryLock, method_getImplementation(replacement));
  gnustepTryLock = reinterpret_cast<TryLock>(reinterpret_cast<void *>(former));
}

- (BOOL)quillmarkTryLock {
  NSDate *date = [self lockDate];
  if (date != nil && -[date timeIntervalSinceNow] > longestHoldSeconds) [self breakLock];
  return gnustepTryLock(self, _cmd);
}

@end
