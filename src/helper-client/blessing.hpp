#pragma once

#include "platform/delegate.hpp"
#include "platform/mac.hpp"

namespace quillmark {

/// Installs the privileged helper tool into the system's launchd domain. Every failure is told in an alert and ends
/// the application. Main thread; blocks on the system's own authorization dialog.
void installAction(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
