// Runs a slice of a Mac's executable on Linux, against GNUstep. QUILLMARK_SLICE names the executable. Without
// it, it is beside this program and has its name with ".macho" behind (for ".loader", where there is one), so that this
// program can have its place in a bundle.

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <filesystem>

#include "slice/loader.hpp"

namespace slice = quillmark::slice;

/// A test program's main(), which CMake renames; it is called in place of the slice's own.
[[gnu::weak]] int mainOfTests(int argc, char *argv[]);

const slice::Image *quillmark::slice::running;

int main(int argc, char *argv[], char *environment[]) {
  const char *const named = std::getenv("QUILLMARK_SLICE");
  const std::string beside = std::filesystem::read_symlink("/proc/self/exe").replace_extension(".macho").string();
  const auto image = slice::map(named != nullptr ? named : beside);
  slice::running = &image;
  @autoreleasepool {
    slice::bindImports(image);
    slice::registerFrames(image);
    slice::completeDeallocation();
    slice::registerMetadata(image);
    slice::protectConstants(image);
    slice::recordCoverage(image);
  }
  if (mainOfTests != nullptr) return mainOfTests(argc, argv);
  char *noLoaderData[] = {nullptr};
  return reinterpret_cast<int (*)(int, char **, char **, char **)>(image.entry)(argc, argv, environment, noLoaderData);
}
