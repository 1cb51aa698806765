// Three file operations as a Mac does them.
//
// -createDirectoryAtPath:… fails on a Mac when a plain file lies at the path. GNUstep's answers YES and leaves the
// file.
//
// -copyItemAtPath:… keeps modes. GNUstep's, once it has copied a link, sets the link's mode on what the link leads to,
// so that files end up with 0777. A Mac's keeps times and extended attributes too; this one does not.
//
// -removeItemAtPath:… removes a folder whatever the items in it are called. GNUstep's stops at a name with a backslash,
// at "a:b" and at bytes that are not UTF-8, and never comes to an end at "c:".

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

#include <cstdint>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// No call here may throw: a method of a file manager answers NO.

using CreateDirectory = BOOL (*)(id, SEL, NSString *, BOOL, NSDictionary *, NSError **);

CreateDirectory gnustepCreateDirectory;

/// Folders get their modes last, because these may forbid writing. What is neither a file, a folder nor a link is not
/// copied: to open a pipe may wait for ever.
bool copyItem(const fs::path &source, const fs::path &target) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(source, error);
  if (fs::is_regular_file(status)) return fs::copy_file(source, target, error);
  if (fs::is_symlink(status)) {
    fs::copy_symlink(source, target, error);
    return !error;
  }
  if (!fs::is_directory(status) || !fs::create_directory(target, error)) return false;
  for (fs::directory_iterator item(source, error); !error && item != fs::end(item); item.increment(error)) {
    if (!copyItem(item->path(), target / item->path().filename())) return false;
  }
  if (!error) fs::permissions(target, status.permissions(), error);
  return !error;
}

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
  return copyItem([source fileSystemRepresentation], [target fileSystemRepresentation]);
}

/// Nor is it here.
- (BOOL)removeItemAtPath:(NSString *)path error:(NSError **)error {
  std::error_code failure;
  const std::uintmax_t removed = fs::remove_all([path fileSystemRepresentation], failure);
  return !failure && removed != 0;
}

@end
