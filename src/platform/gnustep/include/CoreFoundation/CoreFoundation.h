#pragma once

// The part of Core Foundation that the installer calls. GNUstep has no Core Foundation: its references are Foundation
// objects here.

typedef const void *CFTypeRef;
typedef const struct CFString *CFStringRef;
typedef const struct CFBundle *CFBundleRef;
typedef const struct CFURL *CFURLRef;
typedef struct CFError *CFErrorRef;
typedef unsigned char Boolean;
typedef int OSStatus;

extern "C" void CFRelease(CFTypeRef object);
