#pragma once

#include "platform/mac.hpp"

namespace quillmark::cocoa {

/// The Mac that this process runs on.
const Mac &mac();

}  // namespace quillmark::cocoa
