#pragma once

#include "slice/image.hpp"

namespace quillmark::slice {

/// Notes each function that is entered, in the file that LLVM_PROFILE_FILE names (tools/mac-root lets this variable
/// through): a byte for each function, which becomes 1. Does nothing without the variable.
void recordCoverage(const Image &image);

}  // namespace quillmark::slice
