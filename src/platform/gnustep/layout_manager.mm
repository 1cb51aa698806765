// After each change of a text GNUstep's layout manager checks its own books, from the first glyph to the last, so that
// the time for a line grows with the lines before it. Nothing comes of the checks but the end of the process.

#import <AppKit/AppKit.h>

#include <objc/runtime.h>

@interface NSLayoutManager (QuillmarkLayoutManager)
@end

@implementation NSLayoutManager (QuillmarkLayoutManager)

- (void)quillmarkNoSanityChecks {
}

+ (void)load {
  // A private method, which a newer GNUstep may have under another name.
  Method const checks = class_getInstanceMethod(objc_getClass("GSLayoutManager"), sel_registerName("_sanityChecks"));
  Method const none = class_getInstanceMethod(self, @selector(quillmarkNoSanityChecks));
  if (checks != nullptr) (void)method_setImplementation(checks, method_getImplementation(none));
}

@end
