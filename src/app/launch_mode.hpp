#pragma once

#include "platform/mac.hpp"
#include "window/delegate.hpp"

namespace quillmark {

/// Decides once, when launching has finished: a managed launch when both `teamID` and `partnerID` are in the user
/// defaults, whatever they hold; otherwise the window is set up and brought forward. Main thread.
void applicationDidFinishLaunching(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
