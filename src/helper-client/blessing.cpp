#include "helper-client/blessing.hpp"

#include "helper-client/helper_label.hpp"
#include "platform/alert.hpp"
#include "platform/application.hpp"
#include "platform/console.hpp"
#include "platform/ignore.hpp"
#include "platform/service_management.hpp"
#include "shell/activity_log.hpp"

namespace quillmark {

void installAction(const Mac &mac, const DelegatePtr &delegate) {
  const auto error = mac.serviceManagement.jobBless(helperLabel, delegate->authRef());
  if (!error) {
    logText(mac.mainQueue, delegate, "success\n");
    mac.application.activateIgnoringOtherApps();
    return;
  }
  mac.console.log(error->localizedDescription);
  logError(mac.mainQueue, delegate, *error);
  ignore(mac.alertPanel.runModal({
      .messageText = "Quillmark Installer",
      .informativeText = "Could not authorize properly. The Installer will now quit.",
      .style = AlertStyle::critical,
  }));
  mac.application.terminate(*delegate);
}

}  // namespace quillmark
