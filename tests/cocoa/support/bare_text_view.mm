#import "cocoa/support/bare_text_view.h"

@implementation BareTextView

- (NSTextStorage *)textStorage {
  if (![NSThread isMainThread]) touchedOffMainThread = YES;
  if (bareStorage == nil) bareStorage = (NSTextStorage *)[[NSMutableAttributedString alloc] init];
  return bareStorage;
}

- (NSString *)string {
  return [[self textStorage] string];
}

- (void)dealloc {
  [bareStorage release];
  [super dealloc];
}

@end
