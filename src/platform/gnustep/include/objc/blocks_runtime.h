#pragma once

// GNUstep's headers ask for this file as soon as blocks are on; Debian ships the runtime, but not under this name.
#include <Block.h>
