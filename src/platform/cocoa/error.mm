#import "platform/cocoa/error.h"

#import "platform/cocoa/text.h"
#include "platform/foundation.hpp"

namespace quillmark::cocoa {

Error makeError(NSError *error) {
  return {.domain = objectDescription(optionalUTF8([error domain])),
          .code = [error code],
          .localizedDescription = objectDescription(optionalUTF8([error localizedDescription]))};
}

std::optional<Error> optionalError(NSError *error) {
  if (error == nil) return std::nullopt;
  return makeError(error);
}

NSError *nsError(const std::optional<Error> &error) {
  if (!error) return nil;
  NSDictionary *info = @{NSLocalizedDescriptionKey : string(error->localizedDescription)};
  return [NSError errorWithDomain:string(error->domain) code:error->code userInfo:info];
}

}  // namespace quillmark::cocoa
