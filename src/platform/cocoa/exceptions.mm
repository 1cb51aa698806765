#import "platform/cocoa/exceptions.h"

#import <Foundation/Foundation.h>

#include "platform/cocoa/caught_exception.hpp"
#import "platform/cocoa/retained.h"
#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

namespace {

/// Autoreleased, because raising it leaves every scope. Nil if the behaviour returned.
NSException *exceptionOf(const std::function<void()> &behaviour) {
  const CaughtException caught = callAndCatch(behaviour);
  if (caught.outOfRange) {
    return [NSException exceptionWithName:NSRangeException reason:string(*caught.outOfRange) userInfo:nil];
  }
  return [[static_cast<NSException *>(const_cast<void *>(caught.exception.get())) retain] autorelease];
}

}  // namespace

void raisingNSExceptions(const std::function<void()> &behaviour) { [exceptionOf(behaviour) raise]; }

}  // namespace quillmark::cocoa
