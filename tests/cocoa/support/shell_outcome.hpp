#pragma once

#include <string>

#include "platform/foundation.hpp"

namespace quillmark {

/// The reason of the TaskLaunchError that the command ends in, or "" if it ends in none. Not in an Objective-C++ file,
/// where under gcc's runtime a C++ exception cannot be caught.
[[nodiscard]] std::string reasonOfRefusal(ShellTask &task, const std::string &command);

}  // namespace quillmark
