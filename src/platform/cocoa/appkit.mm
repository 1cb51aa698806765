#import "platform/cocoa/appkit.h"

#import <AppKit/AppKit.h>

#import "platform/cocoa/text.h"

namespace quillmark::cocoa {

int CocoaAlertPanel::runModal(const Alert &alert) {
  NSAlert *panel = [[[NSAlert alloc] init] autorelease];
  [panel setMessageText:string(alert.messageText)];
  [panel setInformativeText:string(alert.informativeText)];
  if (alert.style) [panel setAlertStyle:static_cast<NSAlertStyle>(*alert.style)];
  for (const std::string &title : alert.buttons) [panel addButtonWithTitle:string(title)];
  return static_cast<int>([panel runModal]);
}

void CocoaApplication::activateIgnoringOtherApps() { [NSApp activateIgnoringOtherApps:YES]; }

double CocoaApplication::appKitVersionNumber() { return NSAppKitVersionNumber; }

bool CocoaWorkspace::launchApplication(const std::string &name) {
  return [[NSWorkspace sharedWorkspace] launchApplication:string(name)];
}

bool CocoaWorkspace::openURL(const std::string &url) {
  return [[NSWorkspace sharedWorkspace] openURL:[NSURL URLWithString:string(url)]];
}

}  // namespace quillmark::cocoa
