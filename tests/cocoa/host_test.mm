// What the stand-ins give that GNUstep does not.

#import <Foundation/Foundation.h>

#include <Block.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

namespace {

TEST(Blocks, ACopiedBlockKeepsTheObjectsThatItUsesUntilItIsReleased) {
  @autoreleasepool {
    NSObject *const object = [[NSObject alloc] init];
    NSObject * (^const stackBlock)() = ^{
      return object;
    };
    EXPECT_EQ([object retainCount], 1U);
    NSObject * (^const block)() = Block_copy(stackBlock);
    EXPECT_EQ([object retainCount], 2U);
    EXPECT_EQ(block(), object);
    Block_release(block);
    EXPECT_EQ([object retainCount], 1U);
    [object release];
  }
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
