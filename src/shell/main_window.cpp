#include "shell/main_window.hpp"

#include "install/installation.hpp"
#include "platform/alert.hpp"
#include "platform/application.hpp"
#include "platform/console.hpp"
#include "platform/ignore.hpp"
#include "platform/main_queue.hpp"
#include "platform/workspace.hpp"

#ifndef QUILLMARK_VENDOR_HOST
#error "QUILLMARK_VENDOR_HOST names the vendor's web host, such as \"www.example.com\""
#endif

namespace quillmark {

namespace {

const char *const clientName = "Quillmark";

void launchClient(const Mac &mac, Delegate &delegate) {
  if (!mac.workspace.launchApplication(clientName)) {
    mac.console.log(std::string("Failed to launch ") + clientName);
    return;
  }
  mac.application.terminate(delegate);
}

void openVendorPage(Workspace &workspace, const std::string &path) {
  // The browser tells the user what went wrong; the installer has nothing to add.
  ignore(workspace.openURL("https://" QUILLMARK_VENDOR_HOST + path));
}

}  // namespace

void installButtonClick(const Mac &mac, const DelegatePtr &delegate) {
  if (delegate->didInstall()) {
    launchClient(mac, *delegate);
    return;
  }
  if (delegate->termsCheckBoxState() == 0) {
    mac.console.log("the box is unchecked");
    ignore(mac.alertPanel.runModal(
        {.messageText = "Hold On!", .informativeText = "You must agree to Terms & Conditions to continue"}));
    return;
  }
  installQuillmarkApplication(mac, delegate);
}

void clickOnTC(Console &console, Delegate &delegate, int senderState) {
  console.log("state " + std::to_string(senderState));
  console.log("TCCheckBoxOutlet state " + std::to_string(delegate.termsCheckBoxState()));
}

void termsAndConditionClicked(Workspace &workspace) { openVendorPage(workspace, "/terms-and-conditions"); }

void privacyPolicyClicked(Workspace &workspace) { openVendorPage(workspace, "/privacy-policy-2/"); }

std::unique_ptr<AttributedString> attributedString(Typography &typography, const std::string &text,
                                                   const Color *color) {
  auto string = typography.attributedString(text);
  string->setBoldSystemFont(12.0);
  if (color != nullptr) string->setForegroundColor(*color);
  string->setAlignmentCenter();
  return string;
}

void updateWindowAfterInstall(Typography &typography, Delegate &delegate) {
  delegate.setDidInstall(true);
  const auto green = typography.colorWithRed(0.2, 0.8, 0.2, 1.0);
  delegate.setInstallButtonTitle(*attributedString(typography, "Launch Quillmark", green.get()));
  for (const Control control : {Control::andText, Control::privacyTextOutlet, Control::checkboxOutlet,
                                Control::linkBtnOutlet, Control::TCLabel}) {
    delegate.hide(control);
  }
}

void postUpdateWindowAfterInstall(const Mac &mac, const DelegatePtr &delegate) {
  mac.mainQueue.dispatchAsync(
      [&typography = mac.typography, delegate] { updateWindowAfterInstall(typography, *delegate); });
}

}  // namespace quillmark
