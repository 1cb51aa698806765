#pragma once

#import <AppKit/AppKit.h>

/// A text view whose text nobody lays out or gives attributes to: GNUstep's layout takes longer with each line.
@interface BareTextView : NSTextView {
  NSTextStorage *bareStorage;
 @public
  /// Whether a thread other than the main one asked for its text.
  BOOL touchedOffMainThread;
}
@end
