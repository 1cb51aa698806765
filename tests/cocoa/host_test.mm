// What the stand-ins keep GNUstep from doing to a development host.

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#import "cocoa/support/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

/// Somebody else's lock, at a path of its own.
class Lock : public testing::Test {
 protected:
  Lock() {
    theirs_ = [lock() retain];
    EXPECT_TRUE([theirs_ tryLock]);
  }
  ~Lock() override {
    [theirs_ breakLock];
    [theirs_ release];
    [pool_ drain];
  }

  [[nodiscard]] NSDistributedLock *lock() const {
    return [NSDistributedLock lockWithPath:[NSString stringWithUTF8String:path().c_str()]];
  }
  void age(std::chrono::seconds seconds) const {
    fs::last_write_time(path(), fs::file_time_type::clock::now() - seconds);
  }

 private:
  [[nodiscard]] std::string path() const { return folder_.path() + "/lock"; }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
  quillmark::TemporaryFolder folder_;
  NSDistributedLock *theirs_ = nil;
};

TEST_F(Lock, OneThatIsHeldIsRespected) { EXPECT_FALSE([lock() tryLock]); }

TEST_F(Lock, OneThatAKilledProgramHasLeftIsBroken) {
  age(std::chrono::seconds(10));
  NSDistributedLock *ours = lock();
  EXPECT_TRUE([ours tryLock]);
  [ours breakLock];
}

TEST(Signals, WhatGNUstepWouldCatchEndsTheApplication) {
  for (const int number : {SIGINT, SIGTERM}) {
    EXPECT_EXIT(
        {
          (void)signal(number, [](int) {});
          (void)raise(number);
          _exit(0);
        },
        testing::KilledBySignal(number), "");
  }
}

}  // namespace
