// What leaves a method of the delegate is an NSException, never a C++ one.

#include <gtest/gtest.h>
#include <objc/runtime.h>

#import "app/AppDelegate.h"

static NSException *refusal() {
  static NSException *const exception = [[NSException alloc] initWithName:NSInvalidArgumentException
                                                                   reason:@"launch path not accessible"
                                                                 userInfo:@{@"path" : @"/bin/sh"}];
  return exception;
}

@interface NSFileHandle (NoOutput)
@end

@implementation NSFileHandle (NoOutput)

- (NSData *)readWithoutOutput {
  @throw refusal();
}

@end

@interface NSTask (NoShell)
@end

@implementation NSTask (NoShell)

- (void)launchWithoutAShell {
  @throw refusal();
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

TEST(Exceptions, ALicenceTextThatIsMissingRaisesNSRangeException) {
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

TEST(Exceptions, AShellWhoseOutputCannotBeReadRaisesTheVeryExceptionThatItsHandleRaised) {
  @autoreleasepool {
    const Class concrete = object_getClass([[NSPipe pipe] fileHandleForReading]);
    const Method read = class_getInstanceMethod(concrete, @selector(readDataToEndOfFile));
    const Method refused = class_getInstanceMethod(concrete, @selector(readWithoutOutput));
    AppDelegate *delegate = [[[AppDelegate alloc] init] autorelease];
    const IMP former = method_setImplementation(read, method_getImplementation(refused));
    NSException *exception = raisedByGetMacVersion(delegate);
    method_setImplementation(read, former);
    EXPECT_EQ(exception, refusal());
  }
}

TEST(Exceptions, AShellThatCannotBeStartedRaisesTheVeryExceptionThatTheTaskRaised) {
  const Method launch = class_getInstanceMethod([NSTask class], @selector(launch));
  const Method refused = class_getInstanceMethod([NSTask class], @selector(launchWithoutAShell));
  @autoreleasepool {
    AppDelegate *delegate = [[[AppDelegate alloc] init] autorelease];
    const IMP former = method_setImplementation(launch, method_getImplementation(refused));
    NSException *exception = raisedByGetMacVersion(delegate);
    method_setImplementation(launch, former);
    EXPECT_EQ(exception, refusal());
  }
}

}  // namespace

}  // namespace quillmark
