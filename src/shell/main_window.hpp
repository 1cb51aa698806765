#pragma once

#include <memory>
#include <string>

#include "platform/attributed_string.hpp"
#include "platform/delegate.hpp"
#include "platform/mac.hpp"

namespace quillmark {

class Console;
class Workspace;

/// Everything here runs on the main thread.

/// Installs when the terms box is ticked, asks for the tick when it is not, and launches the client once
/// something has been installed. Throws what the installation throws.
void installButtonClick(const Mac &mac, const DelegatePtr &delegate);

/// `senderState` is the state of the clicked checkbox. Only the console shows the click.
void clickOnTC(Console &console, Delegate &delegate, int senderState);

void termsAndConditionClicked(Workspace &workspace);
void privacyPolicyClicked(Workspace &workspace);

/// The text in the format of the install button's title. Without a colour the control's own is used.
[[nodiscard]] std::unique_ptr<AttributedString> attributedString(Typography &typography, const std::string &text,
                                                                 const Color *color);

/// Switches the window to its installed state. Running it again changes nothing.
void updateWindowAfterInstall(Typography &typography, Delegate &delegate);

/// Has updateWindowAfterInstall run on the main queue, never inside this call. Any thread.
void postUpdateWindowAfterInstall(const Mac &mac, const DelegatePtr &delegate);

}  // namespace quillmark
