#pragma once

#include <Foundation/Foundation.h>

typedef double CGFloat;

#define IBOutlet __attribute__((iboutlet))
#define IBAction void)__attribute__((ibaction)

@class NSFont, NSTextStorage;

extern "C" {

enum NSTextAlignment : NSInteger {
#if __x86_64__
  NSTextAlignmentCenter SINCE(10.12) = 2,
#else
  NSTextAlignmentCenter SINCE(10.12) = 1,
#endif
};
static const NSTextAlignment NSCenterTextAlignment SINCE_UNTIL(10.0, 10.12) = NSTextAlignmentCenter;

enum NSAlertStyle : NSUInteger {};

extern const double NSAppKitVersionNumber SINCE(10.0);
extern NSString *const NSFontAttributeName SINCE(10.0);
extern NSString *const NSForegroundColorAttributeName SINCE(10.0);

int NSApplicationMain(int argc, const char *argv[]) SINCE(10.0);
}

@protocol NSApplicationDelegate <NSObject>
@end

SINCE(10.0)
@interface NSResponder : NSObject
@end

SINCE(10.0)
@interface NSApplication : NSResponder
- (void)activateIgnoringOtherApps:(BOOL)flag SINCE(10.0);
- (void)terminate:(id)sender SINCE(10.0);
@end
extern "C" NSApplication *NSApp SINCE(10.0);

SINCE(10.0)
@interface NSWindow : NSResponder
- (void)makeKeyAndOrderFront:(id)sender SINCE(10.0);
@end

SINCE(10.0)
@interface NSView : NSResponder
- (void)setHidden:(BOOL)hidden SINCE(10.3);
@end

SINCE(10.0)
@interface NSControl : NSView
@end

SINCE(10.0)
@interface NSButton : NSControl
@end

SINCE(10.0)
@interface NSTextField : NSControl
@end

SINCE(10.0)
@interface NSText : NSView
@end

SINCE(10.0)
@interface NSTextView : NSText
- (NSTextStorage *)textStorage SINCE(10.0);
@end

SINCE(10.0)
@interface NSTextStorage : NSMutableAttributedString
@end

SINCE(10.0)
@interface NSCell : NSObject
- (NSInteger)state SINCE(10.0);
@end

SINCE(10.0)
@interface NSButtonCell : NSCell
@end

SINCE(10.0)
@interface NSTextFieldCell : NSCell
@end

SINCE(10.3)
@interface NSAlert : NSObject
- (void)setMessageText:(NSString *)text SINCE(10.3);
- (void)setInformativeText:(NSString *)text SINCE(10.3);
- (void)setAlertStyle:(NSAlertStyle)style SINCE(10.3);
- (NSButton *)addButtonWithTitle:(NSString *)title SINCE(10.3);
- (NSInteger)runModal SINCE(10.3);
@end

SINCE(10.0)
@interface NSColor : NSObject
+ (NSColor *)colorWithSRGBRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha SINCE(10.7);
+ (NSColor *)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha SINCE(10.9);
@end

SINCE(10.0)
@interface NSFont : NSObject
+ (NSFont *)boldSystemFontOfSize:(CGFloat)size SINCE(10.0);
@end

SINCE(10.0)
@interface NSWorkspace : NSObject
+ (NSWorkspace *)sharedWorkspace SINCE(10.0);
- (BOOL)openURL:(NSURL *)url SINCE(10.0);
- (BOOL)launchApplication:(NSString *)name SINCE_UNTIL(10.0, 11.0);
@end

@interface NSMutableAttributedString (AppKit)
- (void)setAlignment:(NSTextAlignment)alignment range:(NSRange)range SINCE(10.0);
@end
