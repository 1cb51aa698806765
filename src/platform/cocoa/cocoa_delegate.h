#pragma once

#import "platform/cocoa/retained.h"
#include "platform/delegate.hpp"
#import "shell/AppDelegate.h"

namespace quillmark::cocoa {

/// The application delegate. Holds it strongly for as long as this lives.
class CocoaDelegate final : public Delegate {
 public:
  explicit CocoaDelegate(AppDelegate *appDelegate) : appDelegate_(Retained<AppDelegate>::retain(appDelegate)) {}

  [[nodiscard]] AppDelegate *get() const { return appDelegate_.get(); }

  bool didInstall() override;
  void setDidInstall(bool didInstall) override;
  void setIsRMMLaunch() override;
  void setInstallButtonTitle(const AttributedString &title) override;
  int termsCheckBoxState() override;
  void makeWindowKeyAndOrderFront() override;
  void hide(Control control) override;
  void appendToTextView(const std::string &text) override;

 private:
  Retained<AppDelegate> appDelegate_;
};

/// For work that outlives the call.
DelegatePtr share(AppDelegate *appDelegate);

}  // namespace quillmark::cocoa
