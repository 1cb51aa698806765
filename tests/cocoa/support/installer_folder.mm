#import "cocoa/support/installer_folder.h"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>
#include <objc/runtime.h>

namespace {

NSString *pretendedBundle;

void exchangeAll() {
  const SEL exchanges[][2] = {
      {@selector(bundlePath), @selector(pretendedBundlePath)},
      {@selector(pathForResource:ofType:), @selector(pretendedPathForResource:ofType:)},
  };
  for (const auto &[original, replacement] : exchanges) {
    method_exchangeImplementations(class_getInstanceMethod([NSBundle class], original),
                                   class_getInstanceMethod([NSBundle class], replacement));
  }
}

}  // namespace

@interface NSBundle (Pretended)
@end

@implementation NSBundle (Pretended)

- (NSString *)pretendedBundlePath {
  return self == [NSBundle mainBundle] ? pretendedBundle : [self pretendedBundlePath];
}

- (NSString *)pretendedPathForResource:(NSString *)name ofType:(NSString *)type {
  if (self != [NSBundle mainBundle]) return [self pretendedPathForResource:name ofType:type];
  NSString *file = [[pretendedBundle stringByAppendingPathComponent:name] stringByAppendingPathExtension:type];
  return [[NSFileManager defaultManager] fileExistsAtPath:file] ? file : nil;
}

@end

namespace quillmark {

InstallerFolder::InstallerFolder() {
  EXPECT_EQ(pretendedBundle, nil);
  (void)[NSBundle mainBundle];
  pretendedBundle = [[NSString alloc] initWithUTF8String:(folder_.path() + "/Installer.app").c_str()];
  exchangeAll();
}

InstallerFolder::~InstallerFolder() {
  exchangeAll();
  [pretendedBundle release];
  pretendedBundle = nil;
}

void InstallerFolder::addComponent(const std::string &name, const std::string &contents) {
  writeFile(folder_.path() + "/components/" + name, contents);
}

void InstallerFolder::addResource(const std::string &name, const std::string &contents) {
  writeFile(folder_.path() + "/Installer.app/" + name, contents);
}

}  // namespace quillmark
