#import <AppKit/AppKit.h>
#import <Security/Authorization.h>

/// 1 once this process is a managed run. Written only, for whoever looks at a core dump.
extern "C" unsigned char isRMMLaunch;

/// The installer's state, and a method for all that it does. The interface file creates the one instance, makes it the
/// application's delegate and connects its outlets and actions. Each method hands over to the behaviour of the same
/// name.
///
/// The main thread calls everything here but logText:, logWithFormat: and logError:, which any thread may call,
/// and the accessors of the atomic properties.
@interface AppDelegate : NSObject <NSApplicationDelegate> {
  AuthorizationRef _authRef;  // stays null: no one creates an authorization here
  BOOL didInstall;
  __weak NSTextField *termsAndConditionsText;
  NSWindow *_window;
  NSTextView *_textView;
  __weak NSTextField *_tac;
  __weak NSTextFieldCell *_TACText;
  NSData *_authorization;
  NSXPCConnection *_helperToolConnection;
  NSAttributedString *_installButtonTitle;
  __weak NSButtonCell *_TCCheckBoxOutlet;
  __weak NSTextField *_termsAndConditionsTextField;
  __weak NSButton *_checkboxOutlet;
  __weak NSButton *_linkBtnOutlet;
  __weak NSTextField *_TCLabel;
  __weak NSTextField *_andText;
  __weak NSButton *_privacyTextOutlet;
}

@property(nonatomic, assign) IBOutlet NSWindow *window;
/// The activity log.
@property(nonatomic, assign) IBOutlet NSTextView *textView;
@property(weak) IBOutlet NSTextField *tac;
@property(weak) IBOutlet NSTextFieldCell *TACText;
/// The external form of an authorization, for the helper's commands. Nobody assigns it, so they carry nil.
@property(copy) NSData *authorization;
@property(strong) NSXPCConnection *helperToolConnection;
/// The window's install button shows it through a binding.
@property(strong) NSAttributedString *installButtonTitle;
@property(weak) IBOutlet NSButtonCell *TCCheckBoxOutlet;
@property(weak) IBOutlet NSTextField *termsAndConditionsTextField;
@property(weak) IBOutlet NSButton *checkboxOutlet;
@property(weak) IBOutlet NSButton *linkBtnOutlet;
@property(weak) IBOutlet NSTextField *TCLabel;
@property(weak) IBOutlet NSTextField *andText;
@property(weak) IBOutlet NSButton *privacyTextOutlet;
/// YES once an installation has completed in this process: the install button then launches the client.
@property(assign) BOOL didInstall;
@property(weak) IBOutlet NSTextField *termsAndConditionsText;

- (IBAction)clickOnTC:(id)sender;
- (IBAction)termsAndConditionClicked:(id)sender;
- (IBAction)privacyPolicyClicked:(id)sender;

/// A new string in the format of the install button's title: bold, centred, coloured if there is a colour. The
/// caller owns it.
- (NSMutableAttributedString *)attributedString:(NSString *)text
                                      withColor:(NSColor *)color __attribute__((ns_returns_retained));

/// Appends the text to the activity log on the main operation queue, and returns at once.
- (void)logText:(NSString *)text;
- (void)logWithFormat:(NSString *)format, ... NS_FORMAT_FUNCTION(1, 2);
- (void)logError:(NSError *)error;

/// Makes sure that helperToolConnection holds a resumed connection.
- (void)connectToHelperTool;
/// Connects, then runs the block inside this call, with nil.
- (void)connectAndExecuteCommandBlock:(void (^)(NSError *error))commandBlock;
- (IBAction)installAction:(id)sender;
- (IBAction)getVersionAction:(id)sender;

- (IBAction)installButtonClick:(id)sender;

- (NSString *)homeDirectory;
- (void)writeToTextFile;
- (void)writeToTextFileRMM;

/// The caller owns the answer. Raises NSRangeException when the Mac's licence text yields nothing.
- (NSString *)getMacVersion __attribute__((ns_returns_retained));
- (void)installQuillmarkApplication;
- (void)installQuillmarkApplicationRMM;
/// Has the privileged helper tool install. No control is wired to it.
- (void)installQuillmarkApplication2;
- (IBAction)bindAction:(id)sender;
- (BOOL)componentsArePresent:(id)sender;
- (IBAction)doQuitApplication:(id)sender;

@end
