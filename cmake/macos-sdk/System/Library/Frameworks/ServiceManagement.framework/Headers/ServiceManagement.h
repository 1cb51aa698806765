#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Authorization.h>

extern "C" {

extern const CFStringRef kSMDomainSystemLaunchd SINCE(10.6);

Boolean SMJobBless(CFStringRef domain, CFStringRef label, AuthorizationRef authorization, CFErrorRef *error)
    SINCE_UNTIL(10.6, 13.0);
}
