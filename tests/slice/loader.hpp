#pragma once

// The steps from a mapped image to one that runs, in their order.

#include <objc/objc.h>
#include <objc/runtime.h>

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

// Where a Mac calls by other rules than this system; each processor has its own.

/// What the image calls where it imports the symbol, which is the function here.
const void *functionForImage(const std::string &symbol, const void *function);

/// What this system calls where it sends the message to an object of the image, which has the method for it.
IMP methodForSystem(const char *selector, IMP method);

}  // namespace quillmark::slice

/// The method that a message to super means. The first argument of objc_msgSendSuper2 has the class that sends it, that
/// of the gcc runtime the class's parent.
extern "C" IMP quillmarkSuperMethod(const struct objc_super *target, SEL selector);
