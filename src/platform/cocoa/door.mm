#import "platform/cocoa/door.h"

#import <Foundation/Foundation.h>

#import "platform/cocoa/text.h"
#include "platform/cocoa/thrown.hpp"

namespace quillmark::cocoa {

void openDoor(const std::function<void()> &behaviour) {
  const Thrown thrown = callAndCatch(behaviour);
  switch (thrown.kind) {
    case Thrown::Kind::nothing:
      return;
    case Thrown::Kind::outOfRange:
      [NSException raise:NSRangeException format:@"%@", string(thrown.reason)];
      return;
    case Thrown::Kind::taskLaunchError:
      [NSException raise:string(thrown.name) format:@"%@", string(thrown.reason)];
      return;
  }
}

}  // namespace quillmark::cocoa
