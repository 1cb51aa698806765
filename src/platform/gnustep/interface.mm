// What AppKit looks like and does by itself on a Mac, set up before the interface file is loaded.

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSTheme.h>

/// The box of a switch. GNUstep's own picture is made for a darker window: on this one half of its edges are lost.
@interface QuillmarkSwitch : NSObject
@end

@implementation QuillmarkSwitch

/// AppKit finds the image by its name from then on.
+ (void)nameImage:(NSString *)name drawnBy:(SEL)drawing {
  NSImage *const image = [[[NSImage alloc] initWithSize:NSMakeSize(15, 15)] autorelease];
  [image addRepresentation:[[[NSCustomImageRep alloc] initWithDrawSelector:drawing delegate:self] autorelease]];
  [image setName:name];
}

+ (void)drawBox:(NSCustomImageRep *)image {
  const NSRect box = NSMakeRect(0.5, 0.5, 14, 14);
  [[NSColor whiteColor] set];
  [NSBezierPath fillRect:box];
  [[NSColor grayColor] set];
  [NSBezierPath strokeRect:box];
}

+ (void)drawTickedBox:(NSCustomImageRep *)image {
  [self drawBox:image];
  NSBezierPath *tick = [NSBezierPath bezierPath];
  [tick moveToPoint:NSMakePoint(3.5, 7.5)];
  [tick lineToPoint:NSMakePoint(6.5, 4)];
  [tick lineToPoint:NSMakePoint(11.5, 11.5)];
  [tick setLineWidth:2];
  [[NSColor blackColor] set];
  [tick stroke];
}

@end

@interface GSTheme (QuillmarkInterface)
@end

@implementation GSTheme (QuillmarkInterface)

/// GNUstep would draw a Return sign on the button that Return presses, AppKit draws none.
- (void)setKeyEquivalent:(NSString *)key forButtonCell:(NSButtonCell *)cell {
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

    [QuillmarkSwitch nameImage:@"GSSwitch" drawnBy:@selector(drawBox:)];
    [QuillmarkSwitch nameImage:@"GSSwitchSelected" drawnBy:@selector(drawTickedBox:)];

    // Else the interface file's binding of the title is ignored. After the defaults, because this already makes
    // AppKit read its colours.
    [NSButton exposeBinding:@"attributedTitle"];
  }
}

@end
