// Logs lines from a background thread, as many as "-Lines N" says, and tells as JSON how long it took until all were in
// the text view, and the longest time for which the main thread did not answer. WITH_INSTALLER is defined where they go
// through the installer's log; else the toolkit alone appends the same to the same view.

#import <AppKit/AppKit.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#if WITH_INSTALLER
#import "app/AppDelegate.h"
#endif

using Clock = std::chrono::steady_clock;

namespace {

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// As long as an error of the helper's.
NSString *const line = @"error com.quillmark.customInstaller.Helper / -60006\n";

}  // namespace

@interface Appender : NSObject {
 @public
  NSTextStorage *storage;
  bool finished;
}
- (void)append:(NSString *)text;
- (void)answer;
- (void)finish;
@end

@implementation Appender

- (void)append:(NSString *)text {
  NSAttributedString *const plain = [[NSAttributedString alloc] initWithString:text];
  [storage appendAttributedString:plain];
  [plain release];
}

- (void)answer {
}

- (void)finish {
  finished = true;
}

@end

int main() {
  @autoreleasepool {
    [NSApplication sharedApplication];
    NSUserDefaults *const arguments = [NSUserDefaults standardUserDefaults];
    const NSInteger lines = [arguments integerForKey:@"Lines"];

    const NSRect frame = NSMakeRect(0, 0, 480, 200);
    NSWindow *const window = [[NSWindow alloc] initWithContentRect:frame
                                                         styleMask:NSTitledWindowMask
                                                           backing:NSBackingStoreBuffered
                                                             defer:NO];
    NSScrollView *const scroller = [[NSScrollView alloc] initWithFrame:frame];
    NSTextView *const view = [[NSTextView alloc] initWithFrame:frame];
    [scroller setDocumentView:view];
    [window setContentView:scroller];
    [window orderFront:nil];

    Appender *const appender = [[Appender alloc] init];
    appender->storage = [view textStorage];
#if WITH_INSTALLER
    AppDelegate *const delegate = [[AppDelegate alloc] init];
    delegate.textView = view;
#endif
    (void)[NSRunLoop currentRunLoop];

    const Clock::time_point start = Clock::now();
    std::thread writer([=] {
      @autoreleasepool {
        for (NSInteger number = 0; number < lines; ++number) {
          @autoreleasepool {
#if WITH_INSTALLER
            [delegate logText:line];
#else
            [appender performSelectorOnMainThread:@selector(append:) withObject:line waitUntilDone:NO];
#endif
          }
        }
#if WITH_INSTALLER
        [[NSOperationQueue mainQueue] addOperationWithBlock:^{
          [appender finish];
        }];
#else
        [appender performSelectorOnMainThread:@selector(finish) withObject:nil waitUntilDone:NO];
#endif
      }
    });
    double longest = 0;
    std::atomic<bool> watching{true};
    std::thread watcher([&] {
      @autoreleasepool {
        while (watching) {
          const Clock::time_point asked = Clock::now();
          [appender performSelectorOnMainThread:@selector(answer) withObject:nil waitUntilDone:YES];
          longest = std::max(longest, secondsSince(asked));
        }
      }
    });
    const auto serve = [] {
      @autoreleasepool {
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.05]];
      }
    };
    while (!appender->finished) serve();
    const double seconds = secondsSince(start);
    watching = false;
    std::atomic<bool> watched{false};
    std::thread end([&] {
      watcher.join();
      watched = true;
    });
    while (!watched) serve();
    end.join();
    writer.join();

    const bool whole = [[view string] length] == static_cast<NSUInteger>(lines) * [line length];
    std::printf("{\"seconds\": %.6f, \"longest\": %.6f}\n", seconds, longest);
    return whole ? 0 : 1;
  }
}
