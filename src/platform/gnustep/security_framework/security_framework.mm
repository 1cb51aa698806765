// Stands where a Mac has the binary of its Security framework, and answers the two relocation calls from the list
// Resources/Relocations.plist of the framework that it was loaded from:
//
//   { path of a relocated bundle = { Original = path of its original; QueryFails = true or false; }; … }
//
// Without Original the original cannot be had. With QueryFails the first call reports a failure although it has set
// the flag. Without the list nothing is relocated.

#import <Foundation/Foundation.h>

#include <dlfcn.h>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

NSString *text(const char *path) {
  return [[NSFileManager defaultManager] stringWithFileSystemRepresentation:path length:strlen(path)];
}

const char *pathOfThisLibrary() {
  Dl_info library;
  dladdr(reinterpret_cast<void *>(&pathOfThisLibrary), &library);
  return library.dli_fname;
}

// A caller may close the framework after each question, but the Objective-C runtime keeps pointers into every library
// that was ever loaded. So the library opens itself once more, and stays.
__attribute__((constructor)) void stayLoaded() { dlopen(pathOfThisLibrary(), RTLD_LAZY); }

NSDictionary *readRelocations() {
  NSString *framework = [text(pathOfThisLibrary()) stringByDeletingLastPathComponent];
  return [NSDictionary
      dictionaryWithContentsOfFile:[framework stringByAppendingPathComponent:@"Resources/Relocations.plist"]];
}

NSDictionary *relocationOf(NSURL *bundle) {
  // Not -stringByResolvingSymlinksInPath, which drops a leading "/private".
  char resolved[PATH_MAX];
  if (realpath([[bundle path] fileSystemRepresentation], resolved) == nullptr) return nil;
  return [readRelocations() objectForKey:text(resolved)];
}

void report(int code, NSError **error) {
  if (error != nullptr) *error = [[NSError alloc] initWithDomain:NSPOSIXErrorDomain code:code userInfo:nil];
}

}  // namespace

extern "C" {

unsigned char SecTranslocateIsTranslocatedURL(NSURL *bundle, unsigned char *isTranslocated, NSError **error) {
  if (bundle == nil || isTranslocated == nullptr) {
    report(EINVAL, error);
    return false;
  }
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  NSDictionary *relocation = relocationOf(bundle);
  const bool fails = [[relocation objectForKey:@"QueryFails"] boolValue];
  *isTranslocated = relocation != nil ? 1 : 0;
  [pool release];
  if (fails) report(EIO, error);
  return !fails;
}

// A bundle that is not relocated is its own original.
NSURL *SecTranslocateCreateOriginalPathForURL(NSURL *bundle, NSError **error) {
  if (bundle == nil) {
    report(EINVAL, error);
    return nil;
  }
  NSAutoreleasePool *pool = [NSAutoreleasePool new];
  NSDictionary *relocation = relocationOf(bundle);
  NSString *original = [relocation objectForKey:@"Original"];
  NSURL *answer = nil;
  if (relocation == nil) {
    answer = [bundle retain];
  } else if (original != nil) {
    answer = [[NSURL alloc] initFileURLWithPath:original];
  }
  [pool release];
  if (answer == nil) report(ENOENT, error);
  return answer;
}

}  // extern "C"
