#import <Foundation/Foundation.h>

#include <Block.h>
#include <gtest/gtest.h>

namespace quillmark {

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

}  // namespace

}  // namespace quillmark
