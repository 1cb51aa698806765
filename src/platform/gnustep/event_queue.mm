// Events are not left in AppKit's queue. GNUstep looks at the queue and then lets the run loop work until something
// comes. What works there may run the loop itself, as a call to a daemon does for the answer, and that puts the X
// server's events into the queue, which is not looked at again. A window whose exposure lies there stays black, and a
// button whose release lies there stays pressed, until something else happens.

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSDisplayServer.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>

#include "platform/ignore.hpp"

using quillmark::ignore;

@interface GSDisplayServer (QuillmarkEventQueue)
@end

@implementation GSDisplayServer (QuillmarkEventQueue)

- (NSEvent *)quillmarkNewestEvent {
  return [event_queue lastObject];
}

@end

/// A pipe that has something to read once there is a new event in the queue: only a descriptor ends the run loop's
/// wait.
@interface QuillmarkEventQueue : NSObject <RunLoopEvents> {
  int _reading;
  int _writing;
  // Retained, so that no new event has its address. An event that nobody asks for, as while the mouse is tracked, stays
  // in the queue, and must not keep the run loop awake.
  NSEvent *_announced;
}
@end

@implementation QuillmarkEventQueue

+ (void)load {
  @autoreleasepool {
    QuillmarkEventQueue *queue = [[QuillmarkEventQueue alloc] init];
    for (NSString *mode in @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]) {
      [queue watchInMode:mode];
    }
  }
}

- (id)init {
  self = [super init];
  int ends[2];
  if (self == nil || pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return nil;
  _reading = ends[0];
  _writing = ends[1];
  return self;
}

- (void)watchInMode:(NSString *)mode {
  // A run loop takes a descriptor as if it were a pointer.
  void *descriptor = reinterpret_cast<void *>(intptr_t{_reading});  // NOLINT(performance-no-int-to-ptr)
  [[NSRunLoop currentRunLoop] addEvent:descriptor type:ET_RDESC watcher:self forMode:mode];
}

/// The run loop asks each time before it waits.
- (BOOL)runLoopShouldBlock:(BOOL *)trigger {
  NSEvent *newest = [GSCurrentServer() quillmarkNewestEvent];
  if (newest != nil && newest != _announced) ignore(write(_writing, "", 1));
  [_announced autorelease];
  _announced = [newest retain];
  *trigger = YES;
  return YES;
}

- (void)receivedEvent:(void *)data type:(RunLoopEventType)type extra:(void *)extra forMode:(NSString *)mode {
  char byte = 0;
  ignore(read(_reading, &byte, 1));
}

@end
