#pragma once

#include "platform/mac.hpp"
#include "window/delegate.hpp"

namespace quillmark {

/// The install button and the terms box that guards it. Main thread.

/// Installs when the terms box is ticked, asks for the tick when it is not, and launches the client once
/// something has been installed. Throws what installQuillmarkApplication throws.
void installButtonClick(const Mac &mac, const DelegatePtr &delegate);

/// `senderState` is the state of the clicked checkbox. Only the console shows the click.
void clickOnTC(Console &console, Delegate &delegate, int senderState);

}  // namespace quillmark
