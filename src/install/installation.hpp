#pragma once

#include "platform/delegate.hpp"
#include "platform/mac.hpp"

namespace quillmark {

/// Installs in one synchronous pass: both copies of the client application, the staging folder with the two
/// scripts, the WireGuard component and the marker file. A missing components folder ends the application before
/// any file is touched. Every other failure is dropped and the rest goes on; nothing is rolled back.
/// Main thread. Throws what getMacVersion throws, and TaskLaunchError; the steps before it have then been done.

/// A person's installation. The window's switch to its installed state is posted to the main queue at the end.
void installQuillmarkApplication(const Mac &mac, const DelegatePtr &delegate);

/// A management tool's installation. It shows no window and terminates the application at the end.
void installQuillmarkApplicationRMM(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
