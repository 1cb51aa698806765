#pragma once

#include <objc/objc.h>

namespace quillmark::slice {

/// A symbol of libc++ or libc++abi; null where there is none.
void *cxxSymbol(const char *name);

/// What a catch clause for objects of the class points to.
const void *caughtType(Class objectClass);

}  // namespace quillmark::slice
