// The Security and ServiceManagement calls, answered as by a Mac whose authorization database is its own and on which
// no helper tool can be blessed.

#import <Foundation/Foundation.h>
#include <Security/AuthorizationDB.h>
#include <ServiceManagement/ServiceManagement.h>

#include <map>
#include <mutex>
#include <string>

#import "platform/gnustep/mach_services.h"
#import "platform/gnustep/security_calls.h"

namespace {

constexpr OSStatus authorizationSuccess = 0;
constexpr OSStatus authorizationDenied = -60005;

// kSMErrorAuthorizationFailure of <ServiceManagement/SMErrors.h>: what a null authorization earns.
constexpr NSInteger authorizationFailure = 4;

std::mutex rightsMutex;
std::map<std::string, OSStatus> rights;  // what AuthorizationRightGet answers

}  // namespace

std::vector<RightSetCall> &rightSetCalls() {
  static auto *const calls = new std::vector<RightSetCall>;
  return *calls;
}

std::vector<BlessCall> &blessCalls() {
  static auto *const calls = new std::vector<BlessCall>;
  return *calls;
}

void setAuthorizationRightStatus(const std::string &name, OSStatus status) {
  const std::lock_guard<std::mutex> lock(rightsMutex);
  rights[name] = status;
}

void CFRelease(CFTypeRef object) { [static_cast<id>(const_cast<void *>(object)) release]; }

OSStatus AuthorizationRightGet(const char *rightName, CFTypeRef *rightDefinition) {
  const std::lock_guard<std::mutex> lock(rightsMutex);
  const auto right = rights.find(rightName);
  return right == rights.end() ? authorizationDenied : right->second;
}

OSStatus AuthorizationRightSet(AuthorizationRef authRef, const char *rightName, CFTypeRef rightDefinition,
                               CFStringRef descriptionKey, CFBundleRef bundle, CFStringRef localeTableName) {
  const std::lock_guard<std::mutex> lock(rightsMutex);
  rights[rightName] = authorizationSuccess;
  rightSetCalls().push_back({.authorization = authRef,
                             .name = rightName,
                             .definition = [(id)rightDefinition retain],
                             .descriptionKey = [(NSString *)(id)descriptionKey retain],
                             .bundle = bundle,
                             .stringsTable = [(NSString *)(id)localeTableName retain]});
  return authorizationSuccess;
}

const CFStringRef kSMDomainSystemLaunchd = (CFStringRef)(id) @"kSMDomainSystemLaunchd";

/// Succeeds only where the helper is already there.
Boolean SMJobBless(CFStringRef domain, CFStringRef executableLabel, AuthorizationRef auth, CFErrorRef *outError) {
  blessCalls().push_back({.domain = [(NSString *)(id)domain retain],
                          .label = [(NSString *)(id)executableLabel retain],
                          .authorization = auth});
  if (machService((NSString *)(id)executableLabel) != nil) return 1;
  if (outError != nullptr) {
    *outError =
        (CFErrorRef)(id)[[NSError alloc] initWithDomain:@"CFErrorDomainLaunchd"
                                                   code:authorizationFailure
                                               userInfo:@{
                                                 NSLocalizedDescriptionKey : @"The operation couldn't be completed. "
                                                                             @"(CFErrorDomainLaunchd error 4.)"
                                               }];
  }
  return 0;
}
