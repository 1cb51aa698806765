#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Authorization.h>

extern "C" {
extern const CFStringRef kSMDomainSystemLaunchd;
Boolean SMJobBless(CFStringRef domain, CFStringRef executableLabel, AuthorizationRef auth, CFErrorRef *outError);
}
