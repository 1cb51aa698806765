#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

/// Puts an event into the queue while the run loop is at work.
@interface LateEvent : NSObject
@end

@implementation LateEvent

- (void)post:(NSTimer *)timer {
  NSEvent *event = [NSEvent otherEventWithType:NSApplicationDefined
                                      location:NSZeroPoint
                                 modifierFlags:0
                                     timestamp:0
                                  windowNumber:0
                                       context:nil
                                       subtype:0
                                         data1:4711
                                         data2:0];
  [NSApp postEvent:event atStart:NO];
}

@end

namespace quillmark {

namespace {

TEST(EventQueue, AnEventThatTheRunLoopPutsThereIsNotWaitedFor) {
  @autoreleasepool {
    for (NSString *mode in @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]) {
      LateEvent *late = [[[LateEvent alloc] init] autorelease];
      NSTimer *timer = [NSTimer timerWithTimeInterval:0 target:late selector:@selector(post:) userInfo:nil repeats:NO];
      [[NSRunLoop currentRunLoop] addTimer:timer forMode:mode];
      // Had the run loop waited, it would have done so until this date, and there would be no event.
      NSEvent *event = [NSApp nextEventMatchingMask:NSAnyEventMask
                                          untilDate:[NSDate dateWithTimeIntervalSinceNow:20]
                                             inMode:mode
                                            dequeue:YES];
      ASSERT_EQ([event data1], 4711) << [mode UTF8String];
    }
  }
}

}  // namespace

}  // namespace quillmark
