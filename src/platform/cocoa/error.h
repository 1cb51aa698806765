#pragma once

#import <Foundation/Foundation.h>

#include <optional>

#include "platform/error.hpp"

namespace quillmark::cocoa {

/// A nil error has the code 0.
Error makeError(NSError *error);

/// nullopt for nil.
std::optional<Error> optionalError(NSError *error);

/// Autoreleased; nil for nullopt.
NSError *nsError(const std::optional<Error> &error);

}  // namespace quillmark::cocoa
