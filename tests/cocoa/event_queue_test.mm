#import <AppKit/AppKit.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>

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

/// Counts how often a run loop is about to wait.
@interface WaitCounter : NSObject <RunLoopEvents> {
 @public
  int waits;
}
@end

@implementation WaitCounter

- (BOOL)runLoopShouldBlock:(BOOL *)trigger {
  ++waits;
  *trigger = YES;
  return YES;
}

- (void)receivedEvent:(void *)data type:(RunLoopEventType)type extra:(void *)extra forMode:(NSString *)mode {
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

TEST(EventQueue, AnEventThatNobodyAsksForStaysThereAndLetsTheRunLoopRest) {
  @autoreleasepool {
    WaitCounter *counter = [[[WaitCounter alloc] init] autorelease];
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    [[NSRunLoop currentRunLoop] addEvent:reinterpret_cast<void *>(intptr_t{ends[0]})
                                    type:ET_RDESC
                                 watcher:counter
                                 forMode:NSEventTrackingRunLoopMode];
    [[[[LateEvent alloc] init] autorelease] post:nil];
    EXPECT_EQ([NSApp nextEventMatchingMask:NSLeftMouseUpMask
                                 untilDate:[NSDate dateWithTimeIntervalSinceNow:0.5]
                                    inMode:NSEventTrackingRunLoopMode
                                   dequeue:YES],
              nil);
    EXPECT_GT(counter->waits, 0);
    EXPECT_LT(counter->waits, 1000);  // without rest it would be tens of thousands
    NSEvent *event = [NSApp nextEventMatchingMask:NSAnyEventMask
                                        untilDate:[NSDate distantPast]
                                           inMode:NSEventTrackingRunLoopMode
                                          dequeue:YES];
    EXPECT_EQ([event data1], 4711);
  }
}

}  // namespace

}  // namespace quillmark
