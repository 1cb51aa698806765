#pragma once

#include "platform/mac.hpp"
#include "window/delegate.hpp"

namespace quillmark {

/// Installs in one synchronous pass: both copies of the client application, the staging folder with the two
/// scripts, the WireGuard component and the marker file. Main thread.
///
/// What ends it early: without a components folder the user is told and the application ends before any file is
/// touched; the release probe ends the sequence where it throws, with the steps before it done. Every other failure is
/// dropped and the rest goes on. Nothing is rolled back.

/// A person's installation. The window's switch to its installed state is posted to the main queue at the end. Throws
/// what getMacVersion throws; the window then stays as it was.
void installQuillmarkApplication(const Mac &mac, const DelegatePtr &delegate);

/// A management tool's installation. It shows no window and always terminates the application at the end. What a
/// person's installation throws is written to the console.
void installQuillmarkApplicationRMM(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
