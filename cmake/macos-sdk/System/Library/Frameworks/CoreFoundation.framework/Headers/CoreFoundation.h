#pragma once

#include <MacTypes.h>
#include <since.h>

extern "C" {

typedef const void *CFTypeRef;
typedef const struct __attribute__((objc_bridge(NSString))) __CFString *CFStringRef;
typedef struct __attribute__((objc_bridge(NSError))) __CFError *CFErrorRef;
typedef const struct __attribute__((objc_bridge(NSDictionary))) __CFDictionary *CFDictionaryRef;
typedef struct __attribute__((objc_bridge(NSBundle))) __CFBundle *CFBundleRef;

void CFRelease(CFTypeRef object) SINCE(10.0);
}
