#pragma once

#include "slice/image.hpp"

namespace quillmark::slice {

/// Notes which functions are entered, in the file that LLVM_PROFILE_FILE names, as tools/mac-root lets this variable
/// through. Of each function, in order, it holds two numbers of 32 bits: its size, and 1 once it was entered. Processes
/// may share the file. Does nothing without the variable.
void recordCoverage(const Image &image);

}  // namespace quillmark::slice
