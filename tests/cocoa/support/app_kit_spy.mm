#import "cocoa/support/app_kit_spy.h"

#include <gtest/gtest.h>
#include <objc/runtime.h>

namespace {

quillmark::AppKitSpy *spy = nullptr;

struct Exchange {
  Class cls;
  SEL original, replacement;
};

void exchangeAll() {
  const Exchange exchanges[] = {
      {[NSAlert class], @selector(runModal), @selector(spyRunModal)},
      {[NSApplication class], @selector(terminate:), @selector(spyTerminate:)},
      {[NSApplication class], @selector(activateIgnoringOtherApps:), @selector(spyActivateIgnoringOtherApps:)},
      {[NSWorkspace class], @selector(launchApplication:), @selector(spyLaunchApplication:)},
      {[NSWorkspace class], @selector(openURL:), @selector(spyOpenURL:)},
  };
  for (const Exchange &exchange : exchanges) {
    method_exchangeImplementations(class_getInstanceMethod(exchange.cls, exchange.original),
                                   class_getInstanceMethod(exchange.cls, exchange.replacement));
  }
}

/// What GNUstep's NSLog writes to, between the spy's beginning and its end.
NSLog_printf_handler *formerHandler;

void keepConsoleLine(NSString *line) {
  // GNUstep's own, when its pasteboard daemon is late, and of the icon that a bare test program does not have.
  for (NSString *own in @[ @"While Updating Menu", @"Could not load NSCustomResource NSApplicationIcon" ]) {
    if ([line rangeOfString:own].length != 0) return;
  }
  // "<date> <process>[<pid>:<thread>] <text>\n"
  const std::string whole = [line UTF8String];
  const auto prefix = whole.find("] ");
  spy->console.push_back(whole.substr(prefix + 2, whole.size() - prefix - 3));
}

}  // namespace

@interface NSAlert (Spy)
@end

@implementation NSAlert (Spy)

- (NSInteger)spyRunModal {
  quillmark::AppKitSpy::ShownAlert shown{.messageText = [[self messageText] UTF8String],
                                         .informativeText = [[self informativeText] UTF8String],
                                         .style = [self alertStyle],
                                         .buttons = {}};
  for (NSButton *button in [self buttons]) shown.buttons.emplace_back([[button title] UTF8String]);
  spy->alerts.push_back(shown);
  return spy->answer;
}

@end

@interface NSApplication (Spy)
@end

@implementation NSApplication (Spy)

- (void)spyTerminate:(id)sender {
  spy->terminateSenders.push_back(sender);
}

- (void)spyActivateIgnoringOtherApps:(BOOL)flag {
  EXPECT_TRUE(flag);
  ++spy->activations;
}

@end

@interface NSWorkspace (Spy)
@end

@implementation NSWorkspace (Spy)

- (BOOL)spyLaunchApplication:(NSString *)name {
  spy->launched.emplace_back([name UTF8String]);
  return spy->workspaceSucceeds;
}

- (BOOL)spyOpenURL:(NSURL *)url {
  spy->opened.emplace_back([[url absoluteString] UTF8String]);
  return spy->workspaceSucceeds;
}

@end

namespace quillmark {

AppKitSpy::AppKitSpy() {
  EXPECT_EQ(spy, nullptr);
  spy = this;
  exchangeAll();
  formerHandler = _NSLog_printf_handler;
  _NSLog_printf_handler = keepConsoleLine;
}

AppKitSpy::~AppKitSpy() {
  _NSLog_printf_handler = formerHandler;
  exchangeAll();
  spy = nullptr;
}

}  // namespace quillmark
