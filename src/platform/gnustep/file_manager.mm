// Three file operations as a Mac does them.
//
// -createDirectoryAtPath:… fails on a Mac when a plain file lies at the path. GNUstep's answers YES and leaves the
// file.
//
// -copyItemAtPath:… keeps modes on a Mac. GNUstep's, once it has copied a link, sets the link's mode on what the link
// leads to, so that files end up with 0777.
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

void copyItem(const fs::path &source, const fs::path &target, std::error_code &error);

void copyFolder(const fs::path &source, const fs::path &target, std::error_code &error) {
  fs::create_directory(target, error);
  fs::directory_iterator entry;
  if (!error) entry = fs::directory_iterator(source, error);
  while (!error && entry != fs::directory_iterator()) {
    copyItem(entry->path(), target / entry->path().filename(), error);
    if (!error) entry.increment(error);
  }
  // Last, because the mode may forbid writing.
  fs::file_status status;
  if (!error) status = fs::status(source, error);
  if (!error) fs::permissions(target, status.permissions(), error);
}

void copyItem(const fs::path &source, const fs::path &target, std::error_code &error) {
  const fs::file_status status = fs::symlink_status(source, error);
  if (error) return;
  if (fs::is_symlink(status)) {
    fs::copy_symlink(source, target, error);
  } else if (fs::is_directory(status)) {
    copyFolder(source, target, error);
  } else {
    fs::copy_file(source, target, error);
  }
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
  const fs::path to = [target fileSystemRepresentation];
  std::error_code failure;
  const fs::file_status inTheWay = fs::symlink_status(to, failure);
  if (inTheWay.type() != fs::file_type::not_found) return NO;
  failure.clear();
  copyItem([source fileSystemRepresentation], to, failure);
  return !failure;
}

/// Nor is it here.
- (BOOL)removeItemAtPath:(NSString *)path error:(NSError **)error {
  std::error_code failure;
  const std::uintmax_t removed = fs::remove_all([path fileSystemRepresentation], failure);
  return !failure && removed != 0;
}

@end
