#include "shell/launch_mode.hpp"

#include "install/installation.hpp"
#include "platform/user_defaults.hpp"
#include "shell/main_window.hpp"

namespace quillmark {

void applicationDidFinishLaunching(const Mac &mac, const DelegatePtr &delegate) {
  if (mac.userDefaults.valueForKey("teamID") && mac.userDefaults.valueForKey("partnerID")) {
    delegate->setIsRMMLaunch();
    installQuillmarkApplicationRMM(mac, delegate);
    return;
  }

  delegate->setDidInstall(false);
  delegate->setInstallButtonTitle(*attributedString(mac.typography, "Install", nullptr));
  delegate->makeWindowKeyAndOrderFront();
}

}  // namespace quillmark
