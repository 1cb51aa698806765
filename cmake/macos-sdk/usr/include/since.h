#pragma once

/// The macOS version that brought a declaration, and the one that deprecated it.
#define SINCE(version) __attribute__((availability(macos, introduced = version)))
#define SINCE_UNTIL(version, last) __attribute__((availability(macos, introduced = version, deprecated = last)))
