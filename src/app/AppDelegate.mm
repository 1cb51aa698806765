#import "app/AppDelegate.h"

#import "app/cocoa_delegate.h"
#include "app/install_button.hpp"
#include "app/launch_mode.hpp"
#include "app/quit_confirmation.hpp"
#include "helper-client/blessing.hpp"
#include "helper-client/command_channel.hpp"
#include "install/helper_installation.hpp"
#include "install/installation.hpp"
#include "install/marker_file.hpp"
#import "platform/cocoa/error.h"
#import "platform/cocoa/exceptions.h"
#import "platform/cocoa/mac.h"
#import "platform/cocoa/text.h"
#include "platform/foundation.hpp"
#include "probes/mac_version.hpp"
#include "probes/relocation.hpp"
#include "window/activity_log.hpp"
#include "window/links.hpp"

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
  quillmark::applicationDidFinishLaunching(mac(), cocoa::strongReference(self));
}

- (NSMutableAttributedString *)attributedString:(NSString *)text withColor:(NSColor *)color {
  NSDictionary *font = @{NSFontAttributeName : [NSFont boldSystemFontOfSize:12.0]};
  NSMutableAttributedString *title = [[NSMutableAttributedString alloc] initWithString:text attributes:font];
  const NSRange whole = NSMakeRange(0, [title length]);
  if (color != nil) [title addAttribute:NSForegroundColorAttributeName value:color range:whole];
  // The constant's value differs between processors; its newer name, NSTextAlignmentCenter, is of 10.12.
  [title setAlignment:NSCenterTextAlignment range:whole];
  return title;
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application {
  return YES;
}

- (void)logText:(NSString *)text {
  quillmark::logText(mac().mainQueue, cocoa::strongReference(self), cocoa::utf8(text));
}

- (void)logWithFormat:(NSString *)format, ... {
  va_list arguments;
  va_start(arguments, format);
  NSString *text = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
  va_end(arguments);
  [self logText:text];
}

- (void)logError:(NSError *)error {
  quillmark::logError(mac().mainQueue, cocoa::strongReference(self), cocoa::makeError(error));
}

- (void)connectToHelperTool {
  quillmark::connectToHelperTool(mac(), cocoa::strongReference(self));
}

- (void)connectAndExecuteCommandBlock:(void (^)(NSError *error))commandBlock {
  quillmark::connectAndExecuteCommandBlock(mac(), cocoa::strongReference(self), [&](const std::optional<Error> &error) {
    commandBlock(cocoa::nsError(error));
  });
}

- (IBAction)installAction:(id)sender {
  quillmark::installAction(mac(), cocoa::strongReference(self), _authRef);
}

- (IBAction)getVersionAction:(id)sender {
  quillmark::getVersionAction(mac(), cocoa::strongReference(self));
}

- (IBAction)installButtonClick:(id)sender {
  cocoa::raisingNSExceptions([&] { quillmark::installButtonClick(mac(), cocoa::strongReference(self)); });
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
  cocoa::raisingNSExceptions([&] { version = quillmark::getMacVersion(mac().shellTask); });
  return [cocoa::string(version) retain];
}

- (void)installQuillmarkApplication {
  cocoa::raisingNSExceptions([&] { quillmark::installQuillmarkApplication(mac(), cocoa::strongReference(self)); });
}

- (void)installQuillmarkApplicationRMM {
  quillmark::installQuillmarkApplicationRMM(mac(), cocoa::strongReference(self));
}

- (void)installQuillmarkApplication2 {
  quillmark::installQuillmarkApplication2(mac(), cocoa::strongReference(self));
}

- (IBAction)bindAction:(id)sender {
  quillmark::bindAction(mac(), cocoa::strongReference(self));
}

- (BOOL)componentsArePresent:(id)sender {
  return quillmark::componentsArePresent(mac());
}

- (IBAction)doQuitApplication:(id)sender {
  CocoaDelegate delegate(self);
  quillmark::doQuitApplication(mac().alertPanel, delegate);
}

- (void)dealloc {
  [_authorization release];
  [_helperToolConnection release];
  [_installButtonTitle release];
  [super dealloc];
}

@end
