#include "app/launch_mode.hpp"

#include "install/installation.hpp"
#include "install/marker_file.hpp"
#include "platform/foundation.hpp"

namespace quillmark {

void applicationDidFinishLaunching(const Mac &mac, const DelegatePtr &delegate) {
  if (mac.userDefaults.hasValueForKey(teamIDKey) && mac.userDefaults.hasValueForKey(partnerIDKey)) {
    delegate->setIsRMMLaunch();
    installQuillmarkApplicationRMM(mac, delegate);
    return;
  }

  delegate->setDidInstall(false);
  delegate->setInstallButtonTitle("Install", std::nullopt);
  delegate->makeWindowKeyAndOrderFront();
}

}  // namespace quillmark
