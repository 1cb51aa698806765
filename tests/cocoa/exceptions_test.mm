// What leaves a method of the delegate is an NSException, never a C++ one.

#include <gtest/gtest.h>
#include <objc/runtime.h>

#import "app/AppDelegate.h"
#import "cocoa/support/app_kit_spy.h"
#import "cocoa/support/installer_folder.h"

static NSException *refusal() {
  static NSException *const exception = [[NSException alloc] initWithName:NSInvalidArgumentException
                                                                   reason:@"launch path not accessible"
                                                                 userInfo:@{@"path" : @"/bin/sh"}];
  return exception;
}

@interface NSObject (Refusing)
@end

@implementation NSObject (Refusing)

- (id)refuse {
  @throw refusal();
}

@end

namespace quillmark {

namespace {

class Exceptions : public testing::Test {
 protected:
  ~Exceptions() override { [pool_ drain]; }

  /// Calls the function for each of the four acts of Cocoa's that run a shell, which refuses meanwhile.
  static void whileEachActRefuses(void (^test)()) {
    const Method acts[] = {
      class_getClassMethod([NSPipe class], @selector(pipe)),
      class_getInstanceMethod([NSTask class], @selector(setStandardOutput:)),
      class_getInstanceMethod([NSTask class], @selector(launch)),
      class_getInstanceMethod(object_getClass([[NSPipe pipe] fileHandleForReading]), @selector(readDataToEndOfFile)),
    };
    for (const Method act : acts) {
      SCOPED_TRACE([NSStringFromSelector(method_getName(act)) UTF8String]);
      const Method refuse = class_getInstanceMethod([NSObject class], @selector(refuse));
      const IMP former = method_setImplementation(act, method_getImplementation(refuse));
      test();
      method_setImplementation(act, former);
    }
  }

  __attribute__((noinline)) NSException *raisedByGetMacVersion() {
    @try {
      [[delegate_ getMacVersion] release];
    } @catch (NSException *exception) {
      return exception;
    }
    return nil;
  }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
  AppKitSpy spy_;
  InstallerFolder installer_;
  AppDelegate *delegate_ = [[[AppDelegate alloc] init] autorelease];
};

TEST_F(Exceptions, ALicenceTextThatIsMissingRaisesNSRangeException) {
  NSException *exception = raisedByGetMacVersion();
  ASSERT_NE(exception, nil);
  EXPECT_TRUE([[exception name] isEqualToString:NSRangeException]);
  EXPECT_GT([[exception reason] length], 0U);
}

TEST_F(Exceptions, AShellThatIsRefusedRaisesTheVeryExceptionOfTheRefusal) {
  whileEachActRefuses(^{
    EXPECT_EQ(raisedByGetMacVersion(), refusal());
  });
}

TEST_F(Exceptions, AShellThatIsRefusedIsToldOfAndEndsAManagedRun) {
  installer_.addPayload("Sonoma");
  whileEachActRefuses(^{
    spy_.terminateSenders.clear();
    [delegate_ installQuillmarkApplicationRMM];
    EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
    EXPECT_EQ(spy_.console.back(), "launch path not accessible");
  });
}

}  // namespace

}  // namespace quillmark
