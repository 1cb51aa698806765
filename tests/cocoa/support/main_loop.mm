#import "cocoa/support/main_loop.h"

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <memory>

namespace quillmark {

bool serveMainLoopUntil(const std::function<bool()> &condition) {
  NSDate *deadline = [NSDate dateWithTimeIntervalSinceNow:60];
  while (!condition() && [deadline timeIntervalSinceNow] > 0) {
    @autoreleasepool {
      [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.05]];
    }
  }
  return condition();
}

void serveMainQueue() {
  const auto served = std::make_shared<bool>(false);
  [[NSOperationQueue mainQueue] addOperationWithBlock:^{
    *served = true;
  }];
  EXPECT_TRUE(serveMainLoopUntil([&] { return *served; })) << "the main queue is not served";
}

}  // namespace quillmark
