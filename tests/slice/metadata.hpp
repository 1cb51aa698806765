#pragma once

#include "slice/image.hpp"

namespace quillmark::slice {

/// Hands the image's classes and protocols to the gcc runtime, and makes its constant strings and its references to
/// selectors, protocols and classes that runtime's. The imports must be bound.
void registerMetadata(const Image &image);

}  // namespace quillmark::slice
