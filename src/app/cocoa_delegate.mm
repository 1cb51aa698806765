#import "app/cocoa_delegate.h"

#import "platform/cocoa/helper_connection.h"
#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

namespace {

NSColor *nsColor(const Color &color) {
  // +colorWithRed:green:blue:alpha: came with OS X 10.9; its older equal makes the same sRGB colour. The guard is one
  // that the compiler does not know.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wunguarded-availability"
  if ([NSColor respondsToSelector:@selector(colorWithRed:green:blue:alpha:)]) {
    return [NSColor colorWithRed:color.red green:color.green blue:color.blue alpha:color.alpha];
  }
#pragma clang diagnostic pop
  return [NSColor colorWithSRGBRed:color.red green:color.green blue:color.blue alpha:color.alpha];
}

}  // namespace

bool CocoaDelegate::didInstall() { return get().didInstall; }

void CocoaDelegate::setDidInstall(bool didInstall) { get().didInstall = didInstall; }

void CocoaDelegate::setIsRMMLaunch() { isRMMLaunch = 1; }

void CocoaDelegate::setInstallButtonTitle(const std::string &text, const std::optional<Color> &color) {
  NSColor *foreground = color ? nsColor(*color) : nil;
  get().installButtonTitle = [[get() attributedString:string(text) withColor:foreground] autorelease];
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

void CocoaDelegate::terminateApplication() { [NSApp terminate:get()]; }

DelegatePtr strongReference(AppDelegate *appDelegate) { return std::make_shared<CocoaDelegate>(appDelegate); }

}  // namespace quillmark::cocoa
