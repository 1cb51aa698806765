// What AppKit looks like and does by itself on a Mac, set up before the interface file is loaded.

#import <AppKit/AppKit.h>

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

    // Else the interface file's binding of the title is passed over. After the defaults, because this already makes
    // AppKit read its colours.
    [NSButton exposeBinding:@"attributedTitle"];
  }
}

@end
