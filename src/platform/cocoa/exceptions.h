#pragma once

#include <functional>

namespace quillmark::cocoa {

/// Runs behaviour on behalf of an Objective-C method, and raises what it throws: NSRangeException for
/// std::out_of_range, and for TaskLaunchError the very NSException that it carries. A C++ exception must not cross
/// into AppKit, so wrap each call of behaviour whose header says that it throws.
void raisingNSExceptions(const std::function<void()> &behaviour);

}  // namespace quillmark::cocoa
