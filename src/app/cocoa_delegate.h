#pragma once

#import "app/AppDelegate.h"
#import "platform/cocoa/retained.h"
#include "window/delegate.hpp"

namespace quillmark::cocoa {

/// The application delegate. Holds it strongly for as long as this lives.
class CocoaDelegate final : public Delegate {
 public:
  explicit CocoaDelegate(AppDelegate *appDelegate) : appDelegate_(Retained<AppDelegate>::retain(appDelegate)) {}

  bool didInstall() override;
  void setDidInstall(bool didInstall) override;
  void setIsRMMLaunch() override;
  void setInstallButtonTitle(const std::string &text, const std::optional<Color> &color) override;
  int termsCheckBoxState() override;
  void makeWindowKeyAndOrderFront() override;
  void hide(Control control) override;
  std::shared_ptr<Data> authorization() override;
  std::shared_ptr<HelperConnection> helperToolConnection() override;
  void setHelperToolConnection(const std::shared_ptr<HelperConnection> &connection) override;
  void appendToTextView(const std::string &text) override;
  void terminateApplication() override;

 private:
  [[nodiscard]] AppDelegate *get() const { return appDelegate_.get(); }

  Retained<AppDelegate> appDelegate_;
};

/// A strong reference to the delegate, for work that outlives the call.
DelegatePtr strongReference(AppDelegate *appDelegate);

}  // namespace quillmark::cocoa
