#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace quillmark::cocoa {

/// The one place where text crosses between C++ (UTF-8) and Cocoa. Zero bytes inside a text survive.

/// Autoreleased. Text that is not valid UTF-8 gives nil.
NSString *string(const std::string &utf8);

/// Nil for nothing.
NSString *string(const std::optional<std::string> &utf8);

/// Nothing for nil.
std::optional<std::string> optionalUTF8(NSString *string);

/// Empty for nil; a lone surrogate, which UTF-8 cannot say, becomes a question mark.
std::string utf8(NSString *string);

}  // namespace quillmark::cocoa
