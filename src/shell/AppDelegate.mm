#import "shell/AppDelegate.h"

#include "helper-client/blessing.hpp"
#include "helper-client/command_channel.hpp"
#include "install/helper_installation.hpp"
#include "install/installation.hpp"
#include "install/marker_file.hpp"
#import "platform/cocoa/cocoa_delegate.h"
#import "platform/cocoa/cocoa_mac.h"
#import "platform/cocoa/cocoa_typography.h"
#import "platform/cocoa/door.h"
#import "platform/cocoa/error.h"
#import "platform/cocoa/text.h"
#include "platform/directories.hpp"
#include "probes/mac_version.hpp"
#include "probes/relocation.hpp"
#include "shell/activity_log.hpp"
#include "shell/launch_mode.hpp"
#include "shell/main_window.hpp"
#include "shell/quit_confirmation.hpp"

unsigned char isRMMLaunch = 0;

using namespace quillmark;
using cocoa::CocoaDelegate;
using cocoa::mac;

@implementation AppDelegate

@synthesize window = _window;
@synthesize textView = _textView;
@synthesize tac = _tac;
@synthesize TACText = _TACText;
@synthesize authorization = _authorization;
@synthesize helperToolConnection = _helperToolConnection;
@synthesize installButtonTitle = _installButtonTitle;
@synthesize TCCheckBoxOutlet = _TCCheckBoxOutlet;
@synthesize termsAndConditionsTextField = _termsAndConditionsTextField;
@synthesize checkboxOutlet = _checkboxOutlet;
@synthesize linkBtnOutlet = _linkBtnOutlet;
@synthesize TCLabel = _TCLabel;
@synthesize andText = _andText;
@synthesize privacyTextOutlet = _privacyTextOutlet;
@synthesize didInstall;
@synthesize termsAndConditionsText;

- (IBAction)clickOnTC:(id)sender {
  CocoaDelegate delegate(self);
  quillmark::clickOnTC(mac().console, delegate, static_cast<int>([sender state]));
}

- (IBAction)termsAndConditionClicked:(id)sender {
  quillmark::termsAndConditionClicked(mac().workspace);
}

- (IBAction)privacyPolicyClicked:(id)sender {
  quillmark::privacyPolicyClicked(mac().workspace);
}

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
  cocoa::openDoor([&] { quillmark::applicationDidFinishLaunching(mac(), cocoa::share(self)); });
}

- (NSMutableAttributedString *)attributedString:(NSString *)text withColor:(NSColor *)color {
  const cocoa::CocoaColor foreground(color);
  const auto title =
      quillmark::attributedString(mac().typography, cocoa::utf8(text), color != nil ? &foreground : nullptr);
  return [static_cast<const cocoa::CocoaAttributedString &>(*title).get() retain];
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application {
  return YES;
}

- (void)logText:(NSString *)text {
  quillmark::logText(mac().mainQueue, cocoa::share(self), cocoa::utf8(text));
}

- (void)logWithFormat:(NSString *)format, ... {
  va_list arguments;
  va_start(arguments, format);
  NSString *text = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
  va_end(arguments);
  [self logText:text];
}

- (void)logError:(NSError *)error {
  quillmark::logError(mac().mainQueue, cocoa::share(self), cocoa::makeError(error));
}

- (void)connectToHelperTool {
  quillmark::connectToHelperTool(mac(), cocoa::share(self));
}

- (void)connectAndExecuteCommandBlock:(void (^)(NSError *error))commandBlock {
  quillmark::connectAndExecuteCommandBlock(
      mac(), cocoa::share(self), [&](const std::optional<Error> &error) { commandBlock(cocoa::nsError(error)); });
}

- (IBAction)installAction:(id)sender {
  quillmark::installAction(mac(), cocoa::share(self, _authRef));
}

- (IBAction)getVersionAction:(id)sender {
  quillmark::getVersionAction(mac(), cocoa::share(self));
}

- (IBAction)installButtonClick:(id)sender {
  cocoa::openDoor([&] { quillmark::installButtonClick(mac(), cocoa::share(self)); });
}

- (NSString *)homeDirectory {
  return cocoa::string(mac().directories.homeDirectory());
}

- (void)writeToTextFile {
  quillmark::writeToTextFile(mac());
}

- (void)writeToTextFileRMM {
  quillmark::writeToTextFileRMM(mac());
}

- (NSString *)getMacVersion {
  std::optional<std::string> version;
  cocoa::openDoor([&] { version = quillmark::getMacVersion(mac().shellTask); });
  return [cocoa::string(version) retain];
}

- (void)installQuillmarkApplication {
  cocoa::openDoor([&] { quillmark::installQuillmarkApplication(mac(), cocoa::share(self)); });
}

- (void)installQuillmarkApplicationRMM {
  cocoa::openDoor([&] { quillmark::installQuillmarkApplicationRMM(mac(), cocoa::share(self)); });
}

- (void)installQuillmarkApplication2 {
  quillmark::installQuillmarkApplication2(mac(), cocoa::share(self));
}

- (IBAction)bindAction:(id)sender {
  quillmark::bindAction(mac(), cocoa::share(self));
}

- (BOOL)componentsArePresent:(id)sender {
  return quillmark::componentsArePresent(mac());
}

- (IBAction)doQuitApplication:(id)sender {
  CocoaDelegate delegate(self);
  quillmark::doQuitApplication(mac(), delegate);
}

- (void)dealloc {
  [_authorization release];
  [_helperToolConnection release];
  [_installButtonTitle release];
  [super dealloc];
}

@end
