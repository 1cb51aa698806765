#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Authorization.h>

extern "C" {
OSStatus AuthorizationRightGet(const char *rightName, CFTypeRef *rightDefinition);
OSStatus AuthorizationRightSet(AuthorizationRef authRef, const char *rightName, CFTypeRef rightDefinition,
                               CFStringRef descriptionKey, CFBundleRef bundle, CFStringRef localeTableName);
}
