#pragma once

namespace quillmark::slice {

/// Has objects destroy their C++ variables, and clear the weak references to them, when they are deallocated. To be
/// called once, before any object of the image is made.
void completeDeallocation();

}  // namespace quillmark::slice
