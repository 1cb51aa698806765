#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>

namespace quillmark::cocoa {

/// The one place where text crosses between C++ (UTF-8) and Cocoa. Every NSString comes back as it was: zero bytes
/// and a U+FEFF at the beginning survive, and so does a surrogate without its other half, which has no UTF-8 of its own
/// and is written as three bytes like its neighbours (WTF-8, https://simonsapin.github.io/wtf-8/).

/// Autoreleased. The bytes are such text.
NSString *string(const std::string &utf8);

/// Nil for nullopt.
NSString *string(const std::optional<std::string> &utf8);

/// nullopt for nil.
std::optional<std::string> optionalUTF8(NSString *string);

/// The empty text for nil.
std::string utf8(NSString *string);

}  // namespace quillmark::cocoa
