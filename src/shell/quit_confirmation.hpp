#pragma once

#include "platform/delegate.hpp"
#include "platform/mac.hpp"

namespace quillmark {

/// Quits at once after an installation; before one it asks. Closing the window does not come through here. Main
/// thread.
void doQuitApplication(const Mac &mac, Delegate &delegate);

}  // namespace quillmark
