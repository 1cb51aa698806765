#include "window/installed_state.hpp"

#include "platform/foundation.hpp"

namespace quillmark {

namespace {

constexpr Color launchTitleColor = {.red = 0.2, .green = 0.8, .blue = 0.2, .alpha = 1.0};

}  // namespace

void updateWindowAfterInstall(Delegate &delegate) {
  delegate.setDidInstall(true);
  delegate.setInstallButtonTitle("Launch Quillmark", launchTitleColor);
  for (const Control control : {Control::andText, Control::privacyTextOutlet, Control::checkboxOutlet,
                                Control::linkBtnOutlet, Control::TCLabel}) {
    delegate.hide(control);
  }
}

void postUpdateWindowAfterInstall(MainQueue &mainQueue, const DelegatePtr &delegate) {
  mainQueue.dispatchAsync([delegate] { updateWindowAfterInstall(*delegate); });
}

}  // namespace quillmark
