#pragma once

#import "platform/cocoa/retained.h"
#include "platform/delegate.hpp"
#import "shell/AppDelegate.h"

namespace quillmark::cocoa {

/// The application delegate. Holds it strongly for as long as this lives.
class CocoaDelegate final : public Delegate {
 public:
  /// `authRef` is the delegate's instance variable, which has no accessor.
  explicit CocoaDelegate(AppDelegate *appDelegate, AuthorizationRef authRef = nullptr)
      : appDelegate_(Retained<AppDelegate>::retain(appDelegate)), authRef_(authRef) {}

  [[nodiscard]] AppDelegate *get() const { return appDelegate_.get(); }

  bool didInstall() override;
  void setDidInstall(bool didInstall) override;
  void setIsRMMLaunch() override;
  void setInstallButtonTitle(const AttributedString &title) override;
  int termsCheckBoxState() override;
  void makeWindowKeyAndOrderFront() override;
  void hide(Control control) override;
  Authorization authRef() override;
  std::shared_ptr<Data> authorization() override;
  std::shared_ptr<HelperConnection> helperToolConnection() override;
  void setHelperToolConnection(const std::shared_ptr<HelperConnection> &connection) override;
  void appendToTextView(const std::string &text) override;

 private:
  Retained<AppDelegate> appDelegate_;
  AuthorizationRef authRef_;
};

/// For work that outlives the call.
DelegatePtr share(AppDelegate *appDelegate, AuthorizationRef authRef = nullptr);

}  // namespace quillmark::cocoa
