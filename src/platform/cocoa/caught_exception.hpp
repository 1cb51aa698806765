#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quillmark::cocoa {

/// What behaviour threw, if it did: why something was out of range, or the platform's own NSException.
struct CaughtException {
  std::optional<std::string> outOfRange = std::nullopt;
  std::shared_ptr<const void> exception = nullptr;
};

/// Calls the behaviour and catches the two exceptions that it is allowed. This stands in plain C++ because the gcc
/// Objective-C runtime never matches a C++ catch clause in an Objective-C++ file.
CaughtException callAndCatch(const std::function<void()> &behaviour);

}  // namespace quillmark::cocoa
