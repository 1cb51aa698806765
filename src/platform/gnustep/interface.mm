// What AppKit looks like and does by itself on a Mac, set up before the interface file is loaded.

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSTheme.h>

#include <objc/runtime.h>

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

namespace {

/// What GNUstep has for a method that is replaced here.
id (*makeFont)(id cls, SEL selector, NSString *name, CGFloat size);
void (*drawButton)(id theme, SEL selector, NSRect frame, NSCell *cell, NSView *view, int style,
                   GSThemeControlState state);

template <typename Function>
void replace(Method method, Function *&original, Function *replacement) {
  IMP former = method_setImplementation(method, reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)));
  original = reinterpret_cast<Function *>(reinterpret_cast<void *>(former));
}

/// By this name a nib calls the bold system font, which GNUstep would make a plain one.
id makeFontByAppleName(id cls, SEL selector, NSString *name, CGFloat size) {
  if ([name isEqualToString:@".AppleSystemUIFontBold"]) return [NSFont boldSystemFontOfSize:size];
  return makeFont(cls, selector, name, size);
}

/// A push button as AppKit draws it: smaller than its frame, so that it is seen how it stands to its neighbours.
void drawPushButton(id theme, SEL selector, NSRect frame, NSCell *cell, NSView *view, int style,
                    GSThemeControlState state) {
  if (style != NSRoundedBezelStyle) {
    drawButton(theme, selector, frame, cell, view, style, state);
    return;
  }
  const CGFloat below = [view isFlipped] ? 4.5 : 7.5;
  const NSRect bezel = NSMakeRect(NSMinX(frame) + 6.5, NSMinY(frame) + below, NSWidth(frame) - 13, 20);
  NSBezierPath *const edge = [NSBezierPath bezierPathWithRoundedRect:bezel xRadius:4.5 yRadius:4.5];
  [(state == GSThemeHighlightedState ? [NSColor lightGrayColor] : [NSColor whiteColor]) set];
  [edge fill];
  [[NSColor grayColor] set];
  [edge stroke];
}

}  // namespace

@interface NSButtonCell (QuillmarkInterface)
@end

@implementation NSButtonCell (QuillmarkInterface)

/// GNUstep does not look for the attributed title that a nib has for a button.
- (id)awakeAfterUsingCoder:(NSCoder *)coder {
  if ([coder containsValueForKey:@"NSAttributedTitle"]) {
    [self setAttributedTitle:[coder decodeObjectForKey:@"NSAttributedTitle"]];
  }
  return self;
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
      @"NSFont" : @"NimbusSans-Regular",
      @"NSBoldFont" : @"NimbusSans-Bold",
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

    replace(class_getClassMethod([NSFont class], @selector(fontWithName:size:)), makeFont, makeFontByAppleName);
    replace(class_getInstanceMethod([GSTheme class], @selector(drawButton:in:view:style:state:)), drawButton,
            drawPushButton);
    [[NSColorList colorListNamed:@"System"] setColor:[NSColor colorWithCalibratedRed:0 green:0.41 blue:0.85 alpha:1]
                                              forKey:@"linkColor"];

    // Else the interface file's binding of the title is ignored. After the defaults, because this already makes
    // AppKit read its colours.
    [NSButton exposeBinding:@"attributedTitle"];
  }
}

@end
