#import "platform/cocoa/security.h"

#import <Foundation/Foundation.h>
#import <Security/Authorization.h>
#import <Security/AuthorizationDB.h>
#import <ServiceManagement/ServiceManagement.h>

#import "platform/cocoa/error.h"
#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

namespace {

AuthorizationRef authorizationRef(Authorization authorization) { return static_cast<AuthorizationRef>(authorization); }

}  // namespace

Status CocoaAuthorizationDatabase::rightGet(const std::string &name) {
  return AuthorizationRightGet(name.c_str(), nullptr);
}

Status CocoaAuthorizationDatabase::rightSet(Authorization authorization, const std::string &name,
                                            const std::string &rule, const std::string &descriptionKey,
                                            const std::string &stringsTable) {
  return AuthorizationRightSet(authorizationRef(authorization), name.c_str(), (__bridge CFTypeRef)string(rule),
                               (__bridge CFStringRef)string(descriptionKey), nullptr,
                               (__bridge CFStringRef)string(stringsTable));
}

std::optional<Error> CocoaServiceManagement::jobBless(const std::string &label, Authorization authorization) {
  CFErrorRef error = nullptr;
  const bool blessed =
      SMJobBless(kSMDomainSystemLaunchd, (__bridge CFStringRef)string(label), authorizationRef(authorization), &error);
  const std::optional<Error> refusal = blessed ? std::nullopt : std::optional(makeError((__bridge NSError *)error));
  if (error != nullptr) CFRelease(error);
  return refusal;
}

}  // namespace quillmark::cocoa
