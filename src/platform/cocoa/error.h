#pragma once

#import <Foundation/Foundation.h>

#include <optional>

#include "platform/error.hpp"

namespace quillmark::cocoa {

/// Works for nil too: the code is then 0.
Error makeError(NSError *error);

/// No error for nil.
std::optional<Error> optionalError(NSError *error);

/// Autoreleased; nil for nothing.
NSError *nsError(const std::optional<Error> &error);

}  // namespace quillmark::cocoa
