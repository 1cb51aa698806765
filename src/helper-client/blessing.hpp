#pragma once

#include "platform/mac.hpp"
#include "platform/security.hpp"
#include "window/delegate.hpp"

namespace quillmark {

/// Installs the privileged helper tool into the system's launchd domain. Every failure is told in an alert and ends
/// the application. `authorization` is the delegate's _authRef, which is null. Main thread; blocks on the system's own
/// authorization dialog.
void installAction(const Mac &mac, const DelegatePtr &delegate, Authorization authorization);

}  // namespace quillmark
