#include "app/install_button.hpp"

#include <string>

#include "install/installation.hpp"
#include "platform/appkit.hpp"
#include "platform/foundation.hpp"

namespace quillmark {

namespace {

const char *const clientName = "Quillmark";

void launchClient(const Mac &mac, Delegate &delegate) {
  if (!mac.workspace.launchApplication(clientName)) {
    mac.console.log(std::string("Failed to launch ") + clientName);
    return;
  }
  delegate.terminateApplication();
}

}  // namespace

void installButtonClick(const Mac &mac, const DelegatePtr &delegate) {
  if (delegate->didInstall()) {
    launchClient(mac, *delegate);
    return;
  }
  if (delegate->termsCheckBoxState() == 0) {
    mac.console.log("the box is unchecked");
    mac.alertPanel.runModal(
        {.messageText = "Hold On!", .informativeText = "You must agree to Terms & Conditions to continue"});
    return;
  }
  installQuillmarkApplication(mac, delegate);
}

void clickOnTC(Console &console, Delegate &delegate, int senderState) {
  console.log("state " + std::to_string(senderState));
  console.log("TCCheckBoxOutlet state " + std::to_string(delegate.termsCheckBoxState()));
}

}  // namespace quillmark
