#include "shell/quit_confirmation.hpp"

#include "platform/alert.hpp"
#include "platform/application.hpp"

namespace quillmark {

void doQuitApplication(const Mac &mac, Delegate &delegate) {
  if (delegate.didInstall()) {
    mac.application.terminate(delegate);
    return;
  }
  const int answer = mac.alertPanel.runModal({
      .messageText = "Quillmark Installer",
      .informativeText = "Are you sure you want to quit Quillmark Installer ?",
      .style = AlertStyle::informational,
      .buttons = {"OK", "Cancel"},
  });
  if (answer == alertFirstButtonReturn) mac.application.terminate(delegate);
}

}  // namespace quillmark
