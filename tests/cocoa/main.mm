#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

// What the libraries keep until the end of the process, for the leak sanitizer.
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions() {
  return "leak:libobjc.so\nleak:libgnustep-base.so\nleak:libgnustep-gui.so\nleak:libgnustep-cairo\n"
         "leak:libfontconfig.so\nleak:libX11.so\n";
}
extern "C" const char *__lsan_default_options();
extern "C" const char *__lsan_default_options() { return "print_suppressions=0"; }

int main(int argc, char *argv[]) {
  testing::InitGoogleTest(&argc, argv);
  @autoreleasepool {
    [NSApplication sharedApplication];
    return RUN_ALL_TESTS();
  }
}
