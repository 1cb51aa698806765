#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

int main(int argc, char *argv[]) {
  testing::InitGoogleTest(&argc, argv);

  // The user's temporary folder: GNUstep takes it from here when it is private.
  char folder[] = "/tmp/quillmark-cocoa-XXXXXX";
  if (mkdtemp(folder) == nullptr) return EXIT_FAILURE;
  setenv("TEMP", folder, 1);

  int failures = 0;
  @autoreleasepool {
    [NSApplication sharedApplication];
    failures = RUN_ALL_TESTS();
  }
  std::filesystem::remove_all(folder);
  return failures;
}
