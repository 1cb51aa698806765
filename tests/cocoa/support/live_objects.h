#pragma once

#import <Foundation/Foundation.h>

// <Foundation/NSDebug.h> hides them from a build with NDEBUG.

/// Begins to count objects.
extern "C" BOOL GSDebugAllocationActive(BOOL active);
/// How many there are of those that were allocated since. Not counting subclasses.
extern "C" int GSDebugAllocationCount(Class cls);
