#pragma once

#include <functional>
#include <string>

namespace quillmark::cocoa {

/// What behaviour threw.
struct Thrown {
  enum class Kind { nothing, outOfRange, taskLaunchError };

  Kind kind = Kind::nothing;
  /// The NSException's name, for a task that could not be launched.
  std::string name = {};
  std::string reason = {};
};

/// Calls the behaviour and catches the two exceptions that it is allowed. This stands in plain C++ because the gcc
/// Objective-C runtime never matches a C++ catch clause in an Objective-C++ file.
Thrown callAndCatch(const std::function<void()> &behaviour);

}  // namespace quillmark::cocoa
