#pragma once

// The steps from a mapped image to one that runs, in their order.

#include <objc/objc.h>

#include "slice/image.hpp"

namespace quillmark::slice {

/// Lets the imports point to their counterparts on this system. Refuses symbols that have none, each by its name.
void bindImports(const Image &image);

/// Makes the image's functions known to the unwinder, so that exceptions pass through them.
void registerFrames(const Image &image);

/// Has objects clear the weak references to them when they are deallocated.
void completeDeallocation();

/// Hands the image's classes and protocols to the gcc runtime, and makes its constant strings and its references to
/// selectors, protocols and classes that runtime's.
void registerMetadata(const Image &image);

/// Notes which functions are entered, in the file that LLVM_PROFILE_FILE names, as tools/mac-root lets this variable
/// through. Of each function, in order, it holds two numbers of 32 bits: its size, and 1 once it was entered. Processes
/// may share the file. Does nothing without the variable.
void recordCoverage(const Image &image);

// For bindImports().

/// A symbol of libc++ or libc++abi; null where there is none.
void *cxxSymbol(const char *name);

/// What a catch clause for objects of the class points to.
const void *caughtType(Class objectClass);

}  // namespace quillmark::slice
