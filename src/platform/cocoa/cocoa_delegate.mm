#import "platform/cocoa/cocoa_delegate.h"

#import "platform/cocoa/cocoa_typography.h"
#import "platform/cocoa/helper_connection.h"
#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

bool CocoaDelegate::didInstall() { return get().didInstall; }

void CocoaDelegate::setDidInstall(bool didInstall) { get().didInstall = didInstall; }

void CocoaDelegate::setIsRMMLaunch() { isRMMLaunch = 1; }

void CocoaDelegate::setInstallButtonTitle(const AttributedString &title) {
  get().installButtonTitle = static_cast<const CocoaAttributedString &>(title).get();
}

int CocoaDelegate::termsCheckBoxState() { return static_cast<int>([get().TCCheckBoxOutlet state]); }

void CocoaDelegate::makeWindowKeyAndOrderFront() { [get().window makeKeyAndOrderFront:get()]; }

void CocoaDelegate::hide(Control control) {
  switch (control) {
    case Control::andText:
      return [get().andText setHidden:YES];
    case Control::privacyTextOutlet:
      return [get().privacyTextOutlet setHidden:YES];
    case Control::checkboxOutlet:
      return [get().checkboxOutlet setHidden:YES];
    case Control::linkBtnOutlet:
      return [get().linkBtnOutlet setHidden:YES];
    case Control::TCLabel:
      return [get().TCLabel setHidden:YES];
  }
}

Authorization CocoaDelegate::authRef() { return authRef_; }

std::shared_ptr<Data> CocoaDelegate::authorization() {
  NSData *authorization = get().authorization;
  return authorization == nil ? nullptr : std::make_shared<CocoaData>(authorization);
}

std::shared_ptr<HelperConnection> CocoaDelegate::helperToolConnection() {
  NSXPCConnection *connection = get().helperToolConnection;
  if (connection == nil) return nullptr;
  return std::make_shared<CocoaHelperConnection>(Retained<NSXPCConnection>::retain(connection));
}

void CocoaDelegate::setHelperToolConnection(const std::shared_ptr<HelperConnection> &connection) {
  get().helperToolConnection =
      connection == nullptr ? nil : static_cast<const CocoaHelperConnection &>(*connection).get();
}

void CocoaDelegate::appendToTextView(const std::string &text) {
  NSAttributedString *plain = [[[NSAttributedString alloc] initWithString:string(text)] autorelease];
  [[get().textView textStorage] appendAttributedString:plain];
}

DelegatePtr share(AppDelegate *appDelegate, AuthorizationRef authRef) {
  return std::make_shared<CocoaDelegate>(appDelegate, authRef);
}

}  // namespace quillmark::cocoa
