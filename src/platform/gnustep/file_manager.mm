// -createDirectoryAtPath:… fails on a Mac when a plain file lies at the path. GNUstep's answers YES and leaves the
// file.

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

namespace {

using CreateDirectory = BOOL (*)(id, SEL, NSString *, BOOL, NSDictionary *, NSError **);

CreateDirectory gnustepCreateDirectory;

}  // namespace

@interface NSFileManager (QuillmarkFileManager)
@end

@implementation NSFileManager (QuillmarkFileManager)

+ (void)load {
  const SEL selector = @selector(createDirectoryAtPath:withIntermediateDirectories:attributes:error:);
  const SEL replacement = @selector(quillmarkCreateDirectoryAtPath:withIntermediateDirectories:attributes:error:);
  const IMP former = method_setImplementation(class_getInstanceMethod(self, selector),
                                              method_getImplementation(class_getInstanceMethod(self, replacement)));
  gnustepCreateDirectory = reinterpret_cast<CreateDirectory>(reinterpret_cast<void *>(former));
}

- (BOOL)quillmarkCreateDirectoryAtPath:(NSString *)path
           withIntermediateDirectories:(BOOL)intermediate
                            attributes:(NSDictionary *)attributes
                                 error:(NSError **)error {
  BOOL isFolder = NO;
  if ([self fileExistsAtPath:path isDirectory:&isFolder] && !isFolder) return NO;
  return gnustepCreateDirectory(self, _cmd, path, intermediate, attributes, error);
}

@end
