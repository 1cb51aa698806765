#pragma once

#include "slice/image.hpp"

namespace quillmark::slice {

/// Makes the image's functions known to the unwinder, so that exceptions pass through them. The imports must be bound.
void registerFrames(const Image &image);

}  // namespace quillmark::slice
