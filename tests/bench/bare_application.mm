// The least that an application with AppKit is, to tell what of the installer's times is the toolkit's: one window, or
// with the arguments "-EndAtOnce YES" the end of the application as soon as it has been launched.

#import <AppKit/AppKit.h>

@interface BareDelegate : NSObject
@end

@implementation BareDelegate

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
  NSWindow *const window = [[NSWindow alloc] initWithContentRect:NSMakeRect(200, 200, 480, 360)
                                                       styleMask:NSTitledWindowMask
                                                         backing:NSBackingStoreBuffered
                                                           defer:NO];
  [window makeKeyAndOrderFront:self];
}

@end

@interface EndingDelegate : NSObject
@end

@implementation EndingDelegate

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
  [NSApp terminate:self];
}

@end

int main() {
  @autoreleasepool {
    const bool ends = [[NSUserDefaults standardUserDefaults] boolForKey:@"EndAtOnce"];
    NSApplication *const application = [NSApplication sharedApplication];
    [application setDelegate:[[(ends ? [EndingDelegate class] : [BareDelegate class]) alloc] init]];
    [application run];
  }
}
