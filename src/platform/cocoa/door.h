#pragma once

#include <functional>

namespace quillmark::cocoa {

/// Runs behaviour on behalf of an Objective-C method. What it throws does not cross into AppKit as a C++ exception
/// but is raised as the NSException that Cocoa's own code would have raised: NSRangeException for
/// std::out_of_range, and the original one for TaskLaunchError.
void openDoor(const std::function<void()> &behaviour);

}  // namespace quillmark::cocoa
