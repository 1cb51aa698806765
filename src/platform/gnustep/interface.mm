// What AppKit does by itself on a Mac, before the interface file is loaded.

#import <AppKit/AppKit.h>

@interface NSButton (QuillmarkInterface)
@end

@implementation NSButton (QuillmarkInterface)

+ (void)load {
  @autoreleasepool {
    // Else the interface file's binding of the title is passed over.
    [NSButton exposeBinding:@"attributedTitle"];
  }
}

@end
