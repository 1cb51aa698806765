#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quillmark::cocoa {

/// What behaviour threw.
struct CaughtException {
  enum class Kind { none, outOfRange, nsException };

  Kind kind = Kind::none;
  /// Why something was out of range.
  std::string reason = {};
  /// The platform's own NSException.
  std::shared_ptr<const void> exception = nullptr;
};

/// Calls the behaviour and catches the two exceptions that it is allowed. This stands in plain C++ because the gcc
/// Objective-C runtime never matches a C++ catch clause in an Objective-C++ file.
CaughtException callAndCatch(const std::function<void()> &behaviour);

}  // namespace quillmark::cocoa
