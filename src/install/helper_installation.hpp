#pragma once

#include "platform/mac.hpp"
#include "window/delegate.hpp"

namespace quillmark {

/// Gathers the payload in the temporary folder and hands it to the privileged helper tool in one command. Only the
/// helper's answer decides what the user sees: an error in the log, or "success" and the installed window. Failures
/// to gather are dropped, and what was gathered stays. No alert is shown. Main thread.
void installQuillmarkApplication2(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
