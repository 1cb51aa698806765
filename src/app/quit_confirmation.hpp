#pragma once

#include "window/delegate.hpp"

namespace quillmark {

class AlertPanel;

/// Quits at once after an installation; before one it asks. Closing the window does not come through here. Main
/// thread.
void doQuitApplication(AlertPanel &alertPanel, Delegate &delegate);

}  // namespace quillmark
