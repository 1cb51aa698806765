#pragma once

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#import "app/AppDelegate.h"
#import "cocoa/support/app_kit_spy.h"
#import "cocoa/support/installer_folder.h"
#import "cocoa/support/main_loop.h"

namespace quillmark {

/// The interface file, loaded as the application loads it.
class LoadedInterface : public testing::Test {
 protected:
  LoadedInterface() {
    NSDictionary *table = @{NSNibOwner : NSApp};
    EXPECT_TRUE([NSBundle loadNibFile:@QUILLMARK_INTERFACE_FILE externalNameTable:table withZone:nullptr]);
    delegate_ = (AppDelegate *)[NSApp delegate];
    EXPECT_TRUE([delegate_ isKindOfClass:[AppDelegate class]]);
  }

  ~LoadedInterface() override {
    [delegate_.window orderOut:nil];
    [pool_ drain];
  }

  NSButton *installButton() {
    for (NSView *view in [[delegate_.window contentView] subviews]) {
      if (![view isKindOfClass:[NSButton class]]) continue;
      if ([(NSButton *)view action] == @selector(installButtonClick:)) return (NSButton *)view;
    }
    ADD_FAILURE() << "no control sends installButtonClick:";
    return nil;
  }

  NSMenuItem *menuItem(NSString *title) {
    for (NSMenuItem *top in [[NSApp mainMenu] itemArray]) {
      NSMenuItem *item = (NSMenuItem *)[[top submenu] itemWithTitle:title];
      if (item != nil) return item;
    }
    ADD_FAILURE() << "no menu item " << [title UTF8String];
    return nil;
  }

  /// By name: the gcc runtime has one selector for each signature that a name goes with.
  void expectSelector(SEL actual, SEL expected) {
    EXPECT_TRUE([NSStringFromSelector(actual) isEqualToString:NSStringFromSelector(expected)])
        << [NSStringFromSelector(actual) UTF8String];
  }

  void expectAction(id control, SEL action) {
    expectSelector([control action], action);
    EXPECT_EQ([control target], delegate_);
  }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
  AppKitSpy spy_;
  InstallerFolder installer_;
  AppDelegate *delegate_ = nil;
};

}  // namespace quillmark
