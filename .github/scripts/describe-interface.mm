// usage: describe-interface FILE
//
// Loads an interface file with AppKit and prints what came of it: each object by its place, and what there is to be
// known of it. Two files that make the same interface give the same text. Whatever host loads them, it has to be the
// same for both.
#import <AppKit/AppKit.h>
#import <objc/runtime.h>

#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

static NSMutableArray *objects;       // in the order in which they are met
static NSMutableDictionary *names;    // of each of them
static NSMutableDictionary *outlets;  // of the delegate, with what is connected to each

static NSValue *keyFor(id object) { return [NSValue valueWithNonretainedObject:object]; }

static void takeOutlet(id delegate, SEL setter, id value) {
  NSString *name = NSStringFromSelector(setter);
  [outlets setObject:value forKey:[name substringWithRange:NSMakeRange(3, [name length] - 4)]];
}

/// Stands in for the installer's delegate: it takes whatever is connected to it.
@interface AppDelegate : NSObject
@end

@implementation AppDelegate

+ (BOOL)resolveInstanceMethod:(SEL)selector {
  NSString *name = NSStringFromSelector(selector);
  const BOOL isSetter =
      [name hasPrefix:@"set"] && [name hasSuffix:@":"] && [[name componentsSeparatedByString:@":"] count] == 2;
  return isSetter ? class_addMethod(self, selector, reinterpret_cast<IMP>(reinterpret_cast<void *>(takeOutlet)), "v@:@")
                  : [super resolveInstanceMethod:selector];
}

- (id)valueForUndefinedKey:(NSString *)key {
  return nil;  // what a binding shows is not looked at
}

@end

/// What is asked of an object of each class, in Cocoa's own names; what the host's AppKit does not know is left out.
static NSArray *keysOf(id object) {
  const std::vector<std::pair<Class, NSString *>> known = {
      {[NSApplication class], @"delegate mainMenu windowsMenu"},
      {[NSWindow class],
       @"title styleMask frame minSize maxSize contentMinSize contentMaxSize minFullScreenContentSize "
       @"maxFullScreenContentSize backingType releasedWhenClosed hidesOnDeactivate restorable visible "
       @"initialFirstResponder autorecalculatesKeyViewLoop allowsToolTipsWhenApplicationIsInactive animationBehavior "
       @"collectionBehavior frameAutosaveName contentView"},
      {[NSView class],
       @"frame autoresizingMask autoresizesSubviews hidden nextKeyView toolTip tag alphaValue identifier "
       @"translatesAutoresizingMaskIntoConstraints"},
      {[NSControl class], @"enabled continuous refusesFirstResponder allowsExpansionToolTips controlSize target"},
      {[NSCell class],
       @"type title state enabled editable selectable bordered bezeled scrollable wraps lineBreakMode font alignment "
       @"controlSize focusRingType sendsActionOnEndEditing allowsMixedState usesSingleLineMode "
       @"truncatesLastVisibleLine baseWritingDirection"},
      {[NSTextFieldCell class], @"textColor backgroundColor drawsBackground placeholderString bezelStyle"},
      {[NSButtonCell class],
       @"alternateTitle image alternateImage imagePosition imageScaling bezelStyle keyEquivalent "
       @"keyEquivalentModifierMask highlightsBy showsStateBy transparent imageDimsWhenDisabled "
       @"showsBorderOnlyWhileMouseInside backgroundColor"},
      {[NSScrollView class],
       @"hasVerticalScroller hasHorizontalScroller autohidesScrollers borderType drawsBackground backgroundColor "
       @"documentView horizontalLineScroll horizontalPageScroll verticalLineScroll verticalPageScroll "
       @"usesPredominantAxisScrolling"},
      {[NSClipView class], @"drawsBackground backgroundColor documentView"},
      {[NSTextView class],
       @"string editable selectable richText importsGraphics allowsUndo usesFontPanel font textColor backgroundColor "
       @"insertionPointColor drawsBackground minSize maxSize verticallyResizable horizontallyResizable "
       @"textContainerInset"},
      {[NSMenu class], @"title autoenablesItems"},
      {[NSMenuItem class],
       @"title keyEquivalent keyEquivalentModifierMask enabled hidden state tag indentationLevel separatorItem toolTip "
       @"image target"},
      {[NSObject class], @"accessibilityRole accessibilityLabel accessibilityTitle accessibilityHelp"},
  };
  NSMutableArray *found = [NSMutableArray array];
  for (const auto &[itsClass, keys] : known) {
    if ([object isKindOfClass:itsClass]) [found addObjectsFromArray:[keys componentsSeparatedByString:@" "]];
  }
  return found;
}

static NSString *textOf(id value) {
  if (value == nil) return @"nothing";
  NSString *name = [names objectForKey:keyFor(value)];
  if (name != nil) return name;
  if ([value isKindOfClass:[NSFont class]]) {
    return [NSString stringWithFormat:@"%@ %g", [(NSFont *)value fontName], [(NSFont *)value pointSize]];
  }
  if ([value isKindOfClass:[NSImage class]]) return [NSString stringWithFormat:@"image %@", [(NSImage *)value name]];
  if ([value isKindOfClass:[NSString class]]) {
    NSData *bytes = [(NSString *)value dataUsingEncoding:NSNonLossyASCIIStringEncoding];
    NSString *escaped = [[NSString alloc] initWithData:bytes encoding:NSASCIIStringEncoding];
    escaped = [[escaped componentsSeparatedByString:@"\n"] componentsJoinedByString:@"\\n"];
    return [NSString
        stringWithFormat:@"\"%@\"", [[escaped componentsSeparatedByString:@"\r"] componentsJoinedByString:@"\\r"]];
  }
  if ([value isKindOfClass:[NSValue class]] || [value isKindOfClass:[NSColor class]]) return [value description];
  return [NSString stringWithFormat:@"a %@", NSStringFromClass([value class])];
}

static void meet(id object, NSString *name) {
  if (object == nil || [names objectForKey:keyFor(object)] != nil) return;
  [objects addObject:object];
  [names setObject:name forKey:keyFor(object)];

  NSArray *parts = nil;
  if ([object isKindOfClass:[NSWindow class]])
    meet([(NSWindow *)object contentView], [name stringByAppendingString:@"/content"]);
  if ([object isKindOfClass:[NSControl class]])
    meet([(NSControl *)object cell], [name stringByAppendingString:@"/cell"]);
  if ([object isKindOfClass:[NSMenuItem class]])
    meet([(NSMenuItem *)object submenu], [name stringByAppendingString:@"/menu"]);
  if ([object isKindOfClass:[NSView class]]) parts = [(NSView *)object subviews];
  if ([object isKindOfClass:[NSMenu class]]) parts = [(NSMenu *)object itemArray];
  for (NSUInteger number = 0; number < [parts count]; ++number) {
    meet([parts objectAtIndex:number], [NSString stringWithFormat:@"%@/%lu", name, (unsigned long)number]);
  }
}

static void print(id object, NSString *what, NSString *text) {
  printf("%s: %s = %s\n", [textOf(object) UTF8String], [what UTF8String], [text UTF8String]);
}

static void describe(id object) {
  print(object, @"class", NSStringFromClass([object class]));
  for (NSString *key in keysOf(object)) {
    @try {
      print(object, key, textOf([object valueForKey:key]));
    } @catch (NSException *unknownHere) {
    }
  }
  if ([object respondsToSelector:@selector(action)]) {
    SEL action = [(NSMenuItem *)object action];
    print(object, @"action", action == NULL ? @"nothing" : NSStringFromSelector(action));
  }
  if ([object isKindOfClass:[NSButtonCell class]] && [[(NSButtonCell *)object attributedTitle] length] > 0) {
    NSDictionary *attributes = [[(NSButtonCell *)object attributedTitle] attributesAtIndex:0 effectiveRange:NULL];
    print(object, @"title's colour", textOf([attributes objectForKey:NSForegroundColorAttributeName]));
    print(object, @"title's underline", textOf([attributes objectForKey:NSUnderlineStyleAttributeName]));
  }
  for (NSString *binding in [[object exposedBindings] sortedArrayUsingSelector:@selector(compare:)]) {
    NSDictionary *bound = [object infoForBinding:binding];
    if (bound == nil) continue;
    print(object, [@"binding " stringByAppendingString:binding],
          [NSString stringWithFormat:@"%@ of %@", [bound objectForKey:NSObservedKeyPathKey],
                                     textOf([bound objectForKey:NSObservedObjectKey])]);
  }
}

int main(int argc, char *argv[]) {
  if (argc != 2) {
    fprintf(stderr, "usage: describe-interface FILE\n");
    return 2;
  }
  @autoreleasepool {
    objects = [[NSMutableArray alloc] init];
    names = [[NSMutableDictionary alloc] init];
    outlets = [[NSMutableDictionary alloc] init];
    [NSApplication sharedApplication];

    NSMutableArray *top = [[NSMutableArray alloc] init];
    NSDictionary *context =
        [NSDictionary dictionaryWithObjectsAndKeys:NSApp, NSNibOwner, top, NSNibTopLevelObjects, nil];
    NSString *file = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:argv[1] length:strlen(argv[1])];
    if (![NSBundle loadNibFile:file externalNameTable:context withZone:NULL]) {
      fprintf(stderr, "describe-interface: AppKit does not load %s\n", argv[1]);
      return 1;
    }

    meet(NSApp, @"application");
    meet([NSApp delegate], @"delegate");
    meet([NSApp mainMenu], @"menu");
    NSUInteger windows = 0;
    for (id object in top) {
      if ([object isKindOfClass:[NSWindow class]]) {
        meet(object, [NSString stringWithFormat:@"window %lu", (unsigned long)windows++]);
      }
    }
    for (id object in objects) describe(object);
    for (NSString *outlet in [[outlets allKeys] sortedArrayUsingSelector:@selector(compare:)]) {
      print([NSApp delegate], [@"outlet " stringByAppendingString:outlet], textOf([outlets objectForKey:outlet]));
    }
  }
  return 0;
}
