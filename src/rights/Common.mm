#import "rights/Common.h"

#include <dispatch/dispatch.h>

#import "HelperToolProtocol.h"
#import "platform/cocoa/mac.h"
#import "platform/cocoa/security.h"
#import "platform/cocoa/text.h"
#include "rights/rights_catalogue.hpp"

namespace cocoa = quillmark::cocoa;
using quillmark::RightsCatalogue;

namespace {

struct Rights {
  RightsCatalogue catalogue;
  NSDictionary *commandInfo;
};

/// The compiler refuses a selector that HelperToolProtocol does not declare.
quillmark::GuardedCommands guardedCommands() {
  return {
    .install = cocoa::utf8(NSStringFromSelector(@selector(install:authorization:withReply:))),
    .bindToLowNumberPort = cocoa::utf8(NSStringFromSelector(@selector(bindToLowNumberPortAuthorization:withReply:))),
  };
}

NSDictionary *dictionary(const RightsCatalogue &catalogue) {
  NSMutableDictionary *commands = [NSMutableDictionary dictionary];
  for (const quillmark::CommandRight &right : catalogue) {
    [commands setObject:@{
      @"authRightName" : cocoa::string(right.authRightName),
      @"authRightDefault" : cocoa::string(right.authRightDefault),
      @"authRightDescription" : cocoa::string(right.authRightDescription),
    }
                 forKey:cocoa::string(right.command)];
  }
  return [commands copy];
}

const Rights &rights() {
  static dispatch_once_t once;
  static const Rights *made;
  dispatch_once(&once, ^{
    RightsCatalogue catalogue = quillmark::makeRightsCatalogue(guardedCommands(), cocoa::mac().mainBundle);
    NSDictionary *commandInfo = dictionary(catalogue);
    made = new Rights{.catalogue = std::move(catalogue), .commandInfo = commandInfo};
  });
  return *made;
}

}  // namespace

@implementation Common

+ (NSDictionary *)commandInfo {
  return rights().commandInfo;
}

+ (NSString *)authorizationRightForCommand:(SEL)command {
  return cocoa::string(
      quillmark::authorizationRightForCommand(rights().catalogue, cocoa::utf8(NSStringFromSelector(command))));
}

+ (void)enumerateRightsUsingBlock:(void (^)(NSString *, id, NSString *))block {
  quillmark::enumerateRights(rights().catalogue,
                             [&](const std::string &name, const std::string &rule, const std::string &description) {
                               block(cocoa::string(name), cocoa::string(rule), cocoa::string(description));
                             });
}

+ (void)setupAuthorizationRights:(AuthorizationRef)authRef {
  cocoa::CocoaAuthorizationDatabase database;
  quillmark::setupAuthorizationRights(rights().catalogue, database, authRef);
}

@end
