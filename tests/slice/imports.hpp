#pragma once

#include "slice/image.hpp"

namespace quillmark::slice {

/// Lets the imports point to their counterparts on this system. Refuses symbols that have none, each by its name.
void bind(const Image &image);

}  // namespace quillmark::slice
