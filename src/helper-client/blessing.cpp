#include "helper-client/blessing.hpp"

#include "helper-client/helper_label.hpp"
#include "platform/appkit.hpp"
#include "platform/foundation.hpp"
#include "window/activity_log.hpp"

namespace quillmark {

void installAction(const Mac &mac, const DelegatePtr &delegate, Authorization authorization) {
  const auto error = mac.serviceManagement.jobBless(helperLabel, authorization);
  if (!error) {
    logText(mac.mainQueue, delegate, "success\n");
    mac.application.activateIgnoringOtherApps();
    return;
  }
  mac.console.log(error->localizedDescription);
  logError(mac.mainQueue, delegate, *error);
  mac.alertPanel.runModal({
      .messageText = "Quillmark Installer",
      .informativeText = "Could not authorize properly. The Installer will now quit.",
      .style = AlertStyle::critical,
  });
  delegate->terminateApplication();
}

}  // namespace quillmark
