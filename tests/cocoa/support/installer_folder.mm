#import "cocoa/support/installer_folder.h"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

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

void writeFile(const fs::path &path, const std::string &contents) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << contents;
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
  std::string name = fs::temp_directory_path() / "quillmark-installer-XXXXXX";
  path_ = mkdtemp(name.data());
  (void)[NSBundle mainBundle];
  pretendedBundle = [[NSString alloc] initWithUTF8String:(path_ + "/Installer.app").c_str()];
  exchangeAll();
}

InstallerFolder::~InstallerFolder() {
  exchangeAll();
  [pretendedBundle release];
  pretendedBundle = nil;
  fs::remove_all(path_);
}

void InstallerFolder::addComponent(const std::string &name, const std::string &contents) {
  writeFile(fs::path(path_) / "components" / name, contents);
}

void InstallerFolder::addResource(const std::string &name, const std::string &contents) {
  writeFile(fs::path(path_) / "Installer.app" / name, contents);
}

std::string contentsOf(const std::string &path) {
  std::ifstream file(path);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace quillmark
