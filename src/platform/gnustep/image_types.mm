// An image that is named without its type is looked for with every type that AppKit can read, in a dozen folders and in
// each of these for every language. GNUstep has ImageMagick's two hundred types among them, and loads a hundred modules
// to know them; what is shown here is of the few that it reads by itself.

#import <AppKit/AppKit.h>

#include <objc/runtime.h>

@interface NSImage (QuillmarkImageTypes)
@end

@implementation NSImage (QuillmarkImageTypes)

+ (NSArray *)quillmarkNoFileTypes {
  return @[];
}

+ (void)load {
  // The class stands in no header, and not in every GNUstep.
  Class const imageMagick = objc_getClass("GSImageMagickImageRep");
  if (imageMagick == Nil) return;
  (void)method_setImplementation(class_getClassMethod(imageMagick, @selector(imageUnfilteredFileTypes)),
                                 method_getImplementation(class_getClassMethod(self, @selector(quillmarkNoFileTypes))));
}

@end
