// Three file operations as a Mac does them.
//
// -createDirectoryAtPath:… fails on a Mac when a plain file lies at the path. GNUstep's answers YES and leaves the
// file.
//
// -copyItemAtPath:… keeps modes, times and extended attributes on a Mac, and clones files where the file system can.
// GNUstep's, once it has copied a link, sets the link's mode on what the link leads to, so that files end up with 0777.
//
// -removeItemAtPath:… removes a folder whatever the items in it are called. GNUstep's stops at a name with a backslash,
// at "a:b" and at bytes that are not UTF-8, and never comes to an end at "c:".

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "platform/gnustep/copy.hpp"

namespace fs = std::filesystem;

namespace {

// No call here may throw: a method of a file manager answers NO.

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

/// The error is not told: nobody here asks for it.
- (BOOL)copyItemAtPath:(NSString *)source toPath:(NSString *)target error:(NSError **)error {
  return quillmark::gnustep::copyItem([source fileSystemRepresentation], [target fileSystemRepresentation]);
}

/// Nor is it here.
- (BOOL)removeItemAtPath:(NSString *)path error:(NSError **)error {
  std::error_code failure;
  const std::uintmax_t removed = fs::remove_all([path fileSystemRepresentation], failure);
  return !failure && removed != 0;
}

@end
