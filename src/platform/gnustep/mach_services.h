#pragma once

#import <Foundation/Foundation.h>

#import "HelperToolProtocol.h"

/// launchd's table of the system domain's Mach services, in this process. It is empty, as on a Mac on which no helper
/// has been blessed, until a test puts a helper in. Any thread.

/// Nil takes the service away. Connections that already reached it stay as they are.
void registerMachService(NSString *name, id<HelperToolProtocol> helper);

/// Nil when no one answers at that name. Autoreleased.
id<HelperToolProtocol> machService(NSString *name);
