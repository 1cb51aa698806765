#include "app/quit_confirmation.hpp"

#include "platform/appkit.hpp"

namespace quillmark {

void doQuitApplication(AlertPanel &alertPanel, Delegate &delegate) {
  if (delegate.didInstall()) {
    delegate.terminateApplication();
    return;
  }
  const int answer = alertPanel.runModal({
      .messageText = "Quillmark Installer",
      .informativeText = "Are you sure you want to quit Quillmark Installer ?",
      .style = AlertStyle::informational,
      .buttons = {"OK", "Cancel"},
  });
  if (answer == alertFirstButtonReturn) delegate.terminateApplication();
}

}  // namespace quillmark
