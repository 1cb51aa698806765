// What leaves a door is an NSException, never a C++ one.

#include <gtest/gtest.h>
#include <objc/runtime.h>

#import "shell/AppDelegate.h"

@interface NSTask (NoShell)
@end

@implementation NSTask (NoShell)

- (void)launchWithoutAShell {
  [NSException raise:NSInvalidArgumentException format:@"launch path not accessible"];
}

@end

namespace quillmark {

namespace {

__attribute__((noinline)) NSException *raisedByGetMacVersion(AppDelegate *delegate) {
  @try {
    [[delegate getMacVersion] release];
  } @catch (NSException *exception) {
    return exception;
  }
  return nil;
}

TEST(Door, ALicenceTextThatIsMissingRaisesNSRangeException) {
  // This host is no Mac: the release command finds no licence text and prints nothing.
  ASSERT_FALSE([[NSFileManager defaultManager] fileExistsAtPath:@"/System/Library/CoreServices"]);
  @autoreleasepool {
    AppDelegate *delegate = [[[AppDelegate alloc] init] autorelease];
    NSException *exception = raisedByGetMacVersion(delegate);
    ASSERT_NE(exception, nil);
    EXPECT_TRUE([[exception name] isEqualToString:NSRangeException]);
    EXPECT_GT([[exception reason] length], 0U);
  }
}

TEST(Door, AShellThatCannotBeStartedRaisesTheTasksOwnException) {
  const Method launch = class_getInstanceMethod([NSTask class], @selector(launch));
  const Method refusal = class_getInstanceMethod([NSTask class], @selector(launchWithoutAShell));
  @autoreleasepool {
    AppDelegate *delegate = [[[AppDelegate alloc] init] autorelease];
    const IMP former = method_setImplementation(launch, method_getImplementation(refusal));
    NSException *exception = raisedByGetMacVersion(delegate);
    method_setImplementation(launch, former);
    ASSERT_NE(exception, nil);
    EXPECT_TRUE([[exception name] isEqualToString:NSInvalidArgumentException]);
    EXPECT_TRUE([[exception reason] isEqualToString:@"launch path not accessible"]);
  }
}

}  // namespace

}  // namespace quillmark
