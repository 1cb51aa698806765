#import "app/AppDelegate.h"

#include <gtest/gtest.h>
#include <objc/runtime.h>

#import "cocoa/support/app_kit_spy.h"
#import "cocoa/support/installer_folder.h"
#import "cocoa/support/main_loop.h"

/// Notes who brings it forward.
@interface FrontWindow : NSWindow {
 @public
  id sender;
}
@end

@implementation FrontWindow

- (void)makeKeyAndOrderFront:(id)who {
  sender = who;
}

@end

namespace quillmark {

namespace {

struct Variable {
  const char *name, *type;
};

TEST(AppDelegateClass, ItsVariablesStandInOrder) {
  // What its accessor answers: BOOL is not this host's where the slice of an Intel Mac runs.
  const Method didInstall = class_getInstanceMethod([AppDelegate class], @selector(didInstall));
  const char boolean[] = {method_getTypeEncoding(didInstall)[0], 0};
  const Variable expected[] = {
      {"_authRef", "^{AuthorizationOpaqueRef=}"},
      {"didInstall", boolean},
      {"termsAndConditionsText", "@\"NSTextField\""},
      {"_window", "@\"NSWindow\""},
      {"_textView", "@\"NSTextView\""},
      {"_tac", "@\"NSTextField\""},
      {"_TACText", "@\"NSTextFieldCell\""},
      {"_authorization", "@\"NSData\""},
      {"_helperToolConnection", "@\"NSXPCConnection\""},
      {"_installButtonTitle", "@\"NSAttributedString\""},
      {"_TCCheckBoxOutlet", "@\"NSButtonCell\""},
      {"_termsAndConditionsTextField", "@\"NSTextField\""},
      {"_checkboxOutlet", "@\"NSButton\""},
      {"_linkBtnOutlet", "@\"NSButton\""},
      {"_TCLabel", "@\"NSTextField\""},
      {"_andText", "@\"NSTextField\""},
      {"_privacyTextOutlet", "@\"NSButton\""},
  };
  unsigned count = 0;
  Ivar *variables = class_copyIvarList([AppDelegate class], &count);
  ASSERT_EQ(count, std::size(expected));
  for (unsigned i = 0; i < count; ++i) {
    EXPECT_STREQ(ivar_getName(variables[i]), expected[i].name);
    EXPECT_NE(std::string(ivar_getTypeEncoding(variables[i])).find(expected[i].type), std::string::npos)
        << expected[i].name << " " << ivar_getTypeEncoding(variables[i]);
  }
  free(variables);
}

TEST(AppDelegateClass, AdoptsNSApplicationDelegate) {
  unsigned count = 0;
  Protocol **protocols = class_copyProtocolList([AppDelegate class], &count);
  ASSERT_EQ(count, 1U);
  EXPECT_STREQ(protocol_getName(protocols[0]), "NSApplicationDelegate");
  free(protocols);
  EXPECT_EQ([AppDelegate superclass], [NSObject class]);
}

TEST(AppDelegateClass, ImplementsNoShouldTerminateHook) {
  EXPECT_FALSE([AppDelegate instancesRespondToSelector:@selector(applicationShouldTerminate:)]);
}

class DelegateTest : public testing::Test {
 protected:
  ~DelegateTest() override {
    setLaunchDefaults(@{});
    isRMMLaunch = 0;
    [delegate_ release];
    [pool_ drain];
  }

  void setLaunchDefaults(NSDictionary *values) {
    NSUserDefaults *standard = [NSUserDefaults standardUserDefaults];
    [standard removeVolatileDomainForName:NSArgumentDomain];
    [standard setVolatileDomain:values forName:NSArgumentDomain];
  }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
  AppDelegate *delegate_ = [[AppDelegate alloc] init];
  AppKitSpy spy_;
  InstallerFolder installer_;
};

TEST_F(DelegateTest, StartsWithEverythingUnset) {
  EXPECT_FALSE(delegate_.didInstall);
  EXPECT_EQ(delegate_.installButtonTitle, nil);
  EXPECT_EQ(delegate_.helperToolConnection, nil);
  EXPECT_EQ(delegate_.authorization, nil);
  EXPECT_EQ(isRMMLaunch, 0);
}

TEST_F(DelegateTest, OwnsItsTitleItsConnectionAndACopyOfItsAuthorization) {
  NSMutableData *data = [NSMutableData dataWithBytes:"abc" length:3];
  delegate_.authorization = data;
  [data setLength:0];
  EXPECT_EQ([delegate_.authorization length], 3U);

  NSAttributedString *title = [[NSAttributedString alloc] initWithString:@"title"];
  delegate_.installButtonTitle = title;
  EXPECT_EQ([title retainCount], 2U);
  [delegate_ release];
  delegate_ = nil;
  [pool_ drain];
  pool_ = [[NSAutoreleasePool alloc] init];
  EXPECT_EQ([title retainCount], 1U);
  [title release];
}

TEST_F(DelegateTest, ClosingTheLastWindowEndsTheApplication) {
  EXPECT_TRUE([delegate_ applicationShouldTerminateAfterLastWindowClosed:NSApp]);
}

TEST_F(DelegateTest, WithoutTheDefaultsTheTitleIsInstall) {
  setLaunchDefaults(@{@"teamID" : @"T2"});
  [delegate_ applicationDidFinishLaunching:nil];
  EXPECT_TRUE([[delegate_.installButtonTitle string] isEqualToString:@"Install"]);
  EXPECT_EQ(isRMMLaunch, 0);
  EXPECT_TRUE(spy_.terminateSenders.empty());
}

TEST_F(DelegateTest, TheWindowIsBroughtForwardWithTheDelegateAsSender) {
  FrontWindow *window = [[[FrontWindow alloc] init] autorelease];
  delegate_.window = window;
  [delegate_ applicationDidFinishLaunching:nil];
  EXPECT_EQ(window->sender, delegate_);
}

TEST_F(DelegateTest, WithBothDefaultsTheManagedInstallationStartsAtOnceAndNoTitleIsSet) {
  // There is no components folder, which ends the installation before it touches a file.
  setLaunchDefaults(@{@"teamID" : @"", @"partnerID" : @42});
  [delegate_ applicationDidFinishLaunching:nil];
  EXPECT_EQ(isRMMLaunch, 1);
  EXPECT_EQ(delegate_.installButtonTitle, nil);
  ASSERT_EQ(spy_.alerts.size(), 1U);
  EXPECT_EQ(spy_.alerts[0].messageText, "Quillmark Installer Error");
  EXPECT_EQ(spy_.alerts[0].informativeText, "The installer is missing the components folder. It will now quit.");
  EXPECT_EQ(spy_.alerts[0].style, NSCriticalAlertStyle);
  EXPECT_TRUE(spy_.alerts[0].buttons.empty());
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
  EXPECT_FALSE([[NSFileManager defaultManager]
      fileExistsAtPath:[NSHomeDirectory() stringByAppendingPathComponent:@"Quillmark_Components"]]);
}

TEST_F(DelegateTest, ComponentsArePresentAnswersForTheFolderBesideTheInstaller) {
  EXPECT_FALSE([delegate_ componentsArePresent:delegate_]);
  installer_.addComponent("ca.crt", "ca");
  EXPECT_TRUE([delegate_ componentsArePresent:delegate_]);
  EXPECT_EQ(spy_.alerts.size(), 1U);
  EXPECT_TRUE(spy_.terminateSenders.empty()) << "its callers terminate";
}

TEST_F(DelegateTest, HomeDirectoryIsThePlatforms) {
  EXPECT_TRUE([[delegate_ homeDirectory] isEqualToString:NSHomeDirectory()]);
}

TEST_F(DelegateTest, QuittingBeforeAnInstallationAsksAndTerminatesOnOKOnly) {
  spy_.answer = NSAlertSecondButtonReturn;
  [delegate_ doQuitApplication:nil];
  EXPECT_TRUE(spy_.terminateSenders.empty());

  spy_.answer = NSAlertFirstButtonReturn;
  [delegate_ doQuitApplication:nil];
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});

  ASSERT_EQ(spy_.alerts.size(), 2U);
  EXPECT_EQ(spy_.alerts[0].messageText, "Quillmark Installer");
  EXPECT_EQ(spy_.alerts[0].informativeText, "Are you sure you want to quit Quillmark Installer ?");
  EXPECT_EQ(spy_.alerts[0].style, NSInformationalAlertStyle);
  EXPECT_EQ(spy_.alerts[0].buttons, (std::vector<std::string>{"OK", "Cancel"}));
}

TEST_F(DelegateTest, QuittingAfterAnInstallationTerminatesWithoutAnyAlert) {
  delegate_.didInstall = YES;
  [delegate_ doQuitApplication:nil];
  EXPECT_TRUE(spy_.alerts.empty());
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
}

TEST_F(DelegateTest, TheLinksOpenTheVendorsPages) {
  [delegate_ termsAndConditionClicked:nil];
  [delegate_ privacyPolicyClicked:nil];
  EXPECT_EQ(spy_.opened, (std::vector<std::string>{"https://" QUILLMARK_VENDOR_HOST "/terms-and-conditions",
                                                   "https://" QUILLMARK_VENDOR_HOST "/privacy-policy-2/"}));
}

TEST_F(DelegateTest, AttributedStringKeepsTheColourItIsGiven) {
  NSColor *color = [NSColor purpleColor];
  NSMutableAttributedString *title = [delegate_ attributedString:@"\u00c9t\u00e9" withColor:color];
  EXPECT_EQ([title attribute:NSForegroundColorAttributeName atIndex:2 effectiveRange:nullptr], color);
  EXPECT_TRUE([[title string] isEqualToString:@"\u00c9t\u00e9"]);
  [title release];
}

TEST_F(DelegateTest, AnEmptyTitleRaisesNothing) {
  NSMutableAttributedString *title = [delegate_ attributedString:@"" withColor:[NSColor redColor]];
  EXPECT_EQ([title length], 0U);
  [title release];
}

// The activity log.

class LogTest : public DelegateTest {
 protected:
  LogTest() { delegate_.textView = textView_; }
  ~LogTest() override { [textView_ release]; }

  std::string log() {
    serveMainQueue();
    return [[textView_ string] UTF8String];
  }

  NSTextView *textView_ = [[NSTextView alloc] initWithFrame:NSMakeRect(0, 0, 300, 100)];
};

TEST_F(LogTest, AnAppendRequestedOnTheMainThreadNeverRunsInsideTheCall) {
  [delegate_ logText:@"one\n"];
  EXPECT_EQ([[textView_ string] length], 0U);
  EXPECT_EQ(log(), "one\n");
}

TEST_F(LogTest, AnEmptyTextLeavesTheLogUnchanged) {
  [delegate_ logText:@"one\n"];
  [delegate_ logText:@""];
  EXPECT_EQ(log(), "one\n");
}

TEST_F(LogTest, TheTextHasNoAttributesOfItsOwn) {
  [delegate_ logText:@"plain"];
  serveMainQueue();
  EXPECT_EQ([[textView_ textStorage] attribute:NSForegroundColorAttributeName atIndex:0 effectiveRange:nullptr], nil);
}

TEST_F(LogTest, AFormatIsFilledInBeforeItIsQueued) {
  NSMutableString *name = [NSMutableString stringWithString:@"before"];
  [delegate_ logWithFormat:@"%@ %d 100%%\n", name, -5];
  [name setString:@"after"];
  EXPECT_EQ(log(), "before -5 100%\n");
}

TEST_F(LogTest, AnErrorWithANegativeCodePrintsItsMinusSign) {
  [delegate_ logError:[NSError errorWithDomain:@"NSOSStatusErrorDomain" code:-60005 userInfo:nil]];
  EXPECT_EQ(log(), "error NSOSStatusErrorDomain / -60005\n");
}

TEST_F(LogTest, NonASCIITextsAndZeroBytesSurvive) {
  const unichar characters[] = {0x00e9, 0, 'x', '\n'};
  [delegate_ logText:[NSString stringWithCharacters:characters length:4]];
  serveMainQueue();
  EXPECT_EQ([[textView_ string] length], 4U);
}

TEST_F(LogTest, WithoutATextViewATextIsLostAndTheOnesAroundItAreNot) {
  [delegate_ logText:@"before\n"];
  serveMainQueue();
  delegate_.textView = nil;
  [delegate_ logText:@"lost\n"];
  [delegate_ logText:@"lost too\n"];
  serveMainQueue();
  delegate_.textView = textView_;
  [delegate_ logText:@"after\n"];
  EXPECT_EQ(log(), "before\nafter\n");
  for (const std::string &line : spy_.console) ADD_FAILURE() << "something was raised: " << line;
}

TEST_F(LogTest, ALoneSurrogateIsAppendedAsItStands) {
  [delegate_ logText:[NSString stringWithFormat:@"a%C\n", 0xD800]];
  serveMainQueue();
  EXPECT_EQ([[textView_ string] characterAtIndex:1], 0xD800);
}

TEST_F(LogTest, TheViewIsNeitherScrolledNorTrimmedAndItsSelectionStays) {
  NSScrollView *scroller = [[[NSScrollView alloc] initWithFrame:NSMakeRect(0, 0, 300, 50)] autorelease];
  [textView_ setVerticallyResizable:YES];
  [textView_ setMaxSize:NSMakeSize(300, 1e6)];
  [scroller setDocumentView:textView_];
  NSWindow *window = [[[NSWindow alloc] initWithContentRect:[scroller frame]
                                                  styleMask:NSBorderlessWindowMask
                                                    backing:NSBackingStoreBuffered
                                                      defer:YES] autorelease];
  [window setReleasedWhenClosed:NO];
  [window setContentView:scroller];
  [delegate_ logText:@"first\n"];
  serveMainQueue();
  [textView_ setSelectedRange:NSMakeRange(1, 3)];
  const NSRect visible = [textView_ visibleRect];
  std::string expected = "first\n";
  for (int line = 0; line < 500; ++line) {
    [delegate_ logWithFormat:@"%d\n", line];
    expected += std::to_string(line) + "\n";
  }
  EXPECT_EQ(log(), expected);
  EXPECT_TRUE(NSEqualPoints([textView_ visibleRect].origin, visible.origin));
  EXPECT_TRUE(NSEqualRanges([textView_ selectedRange], NSMakeRange(1, 3)));
  [textView_ scrollRangeToVisible:NSMakeRange(expected.size(), 0)];
  EXPECT_FALSE(NSEqualPoints([textView_ visibleRect].origin, visible.origin)) << "it cannot be scrolled here";
}

TEST_F(LogTest, TenThousandLinesFromABackgroundThreadArriveInOrder) {
  AppDelegate *delegate = delegate_;
  NSOperationQueue *background = [[[NSOperationQueue alloc] init] autorelease];
  [background addOperationWithBlock:^{
    for (int line = 0; line < 10000; ++line) [delegate logWithFormat:@"%d\n", line];
  }];
  std::string expected;
  for (int line = 0; line < 10000; ++line) expected += std::to_string(line) + "\n";
  ASSERT_TRUE(serveMainLoopUntil([&] { return [[textView_ string] length] >= expected.size(); }));
  EXPECT_EQ(log(), expected);
}

TEST_F(LogTest, APendingAppendKeepsTheDelegateAlive) {
  const NSUInteger before = [delegate_ retainCount];
  [delegate_ logText:@"text"];
  EXPECT_EQ([delegate_ retainCount], before + 1);
  serveMainQueue();
  EXPECT_EQ([delegate_ retainCount], before);
}

}  // namespace

}  // namespace quillmark
