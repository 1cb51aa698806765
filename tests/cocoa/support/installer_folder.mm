#import "cocoa/support/installer_folder.h"

#import <Foundation/Foundation.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <filesystem>

namespace {

NSString *folder = @"/no installer folder";

/// Where the path of a Mac lies here.
NSString *placeOf(NSString *path) {
  return [path hasPrefix:@"/Applications"] ? [folder stringByAppendingString:path] : path;
}

void exchange(Class cls, const char *method, const char *replacement) {
  method_exchangeImplementations(class_getInstanceMethod(cls, sel_registerName(method)),
                                 class_getInstanceMethod(cls, sel_registerName(replacement)));
}

void exchangeBundle() {
  exchange([NSBundle class], "bundlePath", "ownBundlePath");
  exchange([NSBundle class], "pathForResource:ofType:", "ownPathForResource:ofType:");
}

}  // namespace

// The application finds these before the libraries'.

NSString *NSHomeDirectory(void) { return [folder stringByAppendingPathComponent:@"home"]; }

NSArray *NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory, NSSearchPathDomainMask domain,
                                             BOOL expandTilde) {
  if (directory == NSApplicationDirectory && domain == NSUserDomainMask) {
    return @[ [NSHomeDirectory() stringByAppendingPathComponent:@"Applications"] ];
  }
  static const auto libraries = reinterpret_cast<decltype(&NSSearchPathForDirectoriesInDomains)>(
      dlsym(RTLD_NEXT, "NSSearchPathForDirectoriesInDomains"));
  return libraries(directory, domain, expandTilde);
}

@interface NSFileManager (OwnPlaces)
@end

@implementation NSFileManager (OwnPlaces)

+ (void)load {
  exchange(self, "removeItemAtPath:error:", "ownRemoveItemAtPath:error:");
  exchange(self, "copyItemAtPath:toPath:error:", "ownCopyItemAtPath:toPath:error:");
  exchange(self, "fileExistsAtPath:", "ownFileExistsAtPath:");
}

- (BOOL)ownRemoveItemAtPath:(NSString *)path error:(NSError **)error {
  return [self ownRemoveItemAtPath:placeOf(path) error:error];
}

- (BOOL)ownCopyItemAtPath:(NSString *)source toPath:(NSString *)target error:(NSError **)error {
  return [self ownCopyItemAtPath:placeOf(source) toPath:placeOf(target) error:error];
}

- (BOOL)ownFileExistsAtPath:(NSString *)path {
  return [self ownFileExistsAtPath:placeOf(path)];
}

@end

@interface NSTask (OwnPlaces)
@end

@implementation NSTask (OwnPlaces)

+ (void)load {
  exchange(self, "setArguments:", "ownSetArguments:");
}

- (void)ownSetArguments:(NSArray *)arguments {
  NSString *own = [folder stringByAppendingString:@"/System/Library/"];
  NSMutableArray *ownArguments = [NSMutableArray array];
  for (NSString *argument in arguments) {
    [ownArguments addObject:[argument stringByReplacingOccurrencesOfString:@"/System/Library/" withString:own]];
  }
  [self ownSetArguments:ownArguments];
}

@end

@interface NSBundle (OwnPlaces)
@end

@implementation NSBundle (OwnPlaces)

- (NSString *)ownBundlePath {
  if (self != [NSBundle mainBundle]) return [self ownBundlePath];
  return [folder stringByAppendingPathComponent:@"Installer.app"];
}

- (NSString *)ownPathForResource:(NSString *)name ofType:(NSString *)type {
  if (self != [NSBundle mainBundle]) return [self ownPathForResource:name ofType:type];
  NSString *file = [[[self bundlePath] stringByAppendingPathComponent:name] stringByAppendingPathExtension:type];
  return [[NSFileManager defaultManager] fileExistsAtPath:file] ? file : nil;
}

@end

namespace quillmark {

InstallerFolder::InstallerFolder() {
  (void)[NSBundle mainBundle];
  folder = [[NSString alloc] initWithUTF8String:folder_.path().c_str()];
  for (const char *applications : {"/Applications", "/home/Applications"}) {
    std::filesystem::create_directories(folder_.path() + applications);
  }
  exchangeBundle();
}

InstallerFolder::~InstallerFolder() {
  exchangeBundle();
  [folder release];
  folder = @"/no installer folder";
}

void InstallerFolder::addComponent(const std::string &name, const std::string &contents) {
  writeFile(folder_.path() + "/components/" + name, contents);
}

void InstallerFolder::addResource(const std::string &name, const std::string &contents) {
  writeFile(folder_.path() + "/Installer.app/" + name, contents);
}

void InstallerFolder::addPayload(const std::string &release) {
  addResource("Quillmark.app/Contents/Info.plist", "the client");
  addResource("client.up.tunnelblick.sh", "up");
  addResource("client.down.tunnelblick.sh", "down");
  addComponent("WGComponents/" + release + "/QuillmarkGuard", "guard for " + release);
  writeFile(folder_.path() + "/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/" +
                "OSXSoftwareLicense.rtf",
            "\\f0\\b SOFTWARE LICENSE AGREEMENT FOR macOS " + release + "\\\n");
}

std::string InstallerFolder::installed(const std::string &path) {
  return contentsOf(folder_.path() + (path.front() == '~' ? "/home" + path.substr(1) : path));
}

}  // namespace quillmark
