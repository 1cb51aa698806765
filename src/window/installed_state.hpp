#pragma once

#include "window/delegate.hpp"

namespace quillmark {

class MainQueue;

/// Switches the window to its installed state: the button offers to launch the client, and the terms are gone.
/// Running it again changes nothing. Main thread.
void updateWindowAfterInstall(Delegate &delegate);

/// Has updateWindowAfterInstall run on the main dispatch queue, never inside this call. Any thread.
void postUpdateWindowAfterInstall(MainQueue &mainQueue, const DelegatePtr &delegate);

}  // namespace quillmark
