// What AppKit looks like and does by itself on a Mac, set up before the interface file is loaded.

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSDisplayServer.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>

@interface GSDisplayServer (QuillmarkInterface)
@end

@implementation GSDisplayServer (QuillmarkInterface)

- (BOOL)quillmarkHasEvents {
  return [event_queue count] != 0;
}

@end

/// Ends the run loop's wait when there is an event in the queue. GNUstep looks at the queue and then lets the run loop
/// work until something comes; but drawing, which the run loop does, may wait for a window to be mapped and put events
/// into the queue. A window whose exposure lies there would stay black until something else happens.
@interface QuillmarkEventWatcher : NSObject <RunLoopEvents> {
  int _reading;
  int _writing;
}
@end

@implementation QuillmarkEventWatcher

- (id)init {
  self = [super init];
  int ends[2];
  if (self == nil || pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return nil;
  _reading = ends[0];
  _writing = ends[1];
  return self;
}

- (void)watchInMode:(NSString *)mode {
  void *descriptor = reinterpret_cast<void *>(static_cast<intptr_t>(_reading));
  [[NSRunLoop currentRunLoop] addEvent:descriptor type:ET_RDESC watcher:self forMode:mode];
}

/// The run loop asks before it waits, and only something to read ends its wait.
- (BOOL)runLoopShouldBlock:(BOOL *)trigger {
  if ([GSCurrentServer() quillmarkHasEvents]) (void)!write(_writing, "", 1);
  *trigger = YES;
  return YES;
}

- (void)receivedEvent:(void *)data type:(RunLoopEventType)type extra:(void *)extra forMode:(NSString *)mode {
  char byte = 0;
  (void)!read(_reading, &byte, 1);
}

@end

@interface NSApplication (QuillmarkInterface)
@end

@implementation NSApplication (QuillmarkInterface)

+ (void)load {
  @autoreleasepool {
    // A menu bar, scrollers on the right, light colours. Without the style GNUstep also puts a Quit item of its own
    // in the place of the interface file's.
    [[NSUserDefaults standardUserDefaults] registerDefaults:@{
      @"GSSuppressAppIcon" : @"YES",
      @"NSInterfaceStyleDefault" : @"NSMacintoshInterfaceStyle",
      @"windowBackgroundColor" : @"0.93 0.93 0.93",
      @"controlBackgroundColor" : @"0.97 0.97 0.97",
      @"controlColor" : @"0.93 0.93 0.93",
      @"scrollBarColor" : @"0.94 0.94 0.94",
      @"controlShadowColor" : @"0.65 0.65 0.65",
      @"controlDarkShadowColor" : @"0.45 0.45 0.45",
      @"selectedMenuItemColor" : @"0.22 0.46 0.84",
      @"selectedMenuItemTextColor" : @"1 1 1",
      @"selectedTextBackgroundColor" : @"0.70 0.84 1.00",
    }];

    QuillmarkEventWatcher *watcher = [[QuillmarkEventWatcher alloc] init];
    // Not in the event tracking mode, where events that nobody asks for stay in the queue.
    for (NSString *mode in @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode ]) {
      [watcher watchInMode:mode];
    }

    // Else the interface file's binding of the title is passed over. After the defaults, because this already makes
    // AppKit read its colours.
    [NSButton exposeBinding:@"attributedTitle"];
  }
}

@end
