#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Authorization.h>

extern "C" {

OSStatus AuthorizationRightGet(const char *name, CFDictionaryRef *definition) SINCE(10.3);
OSStatus AuthorizationRightSet(AuthorizationRef authorization, const char *name, CFTypeRef definition,
                               CFStringRef descriptionKey, CFBundleRef bundle, CFStringRef stringsTable) SINCE(10.3);
}
