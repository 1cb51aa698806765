#import "app/AppDelegate.h"

#include <gtest/gtest.h>
#include <objc/runtime.h>

#import "cocoa/support/app_kit_spy.h"
#import "cocoa/support/bare_text_view.h"
#import "cocoa/support/installer_folder.h"
#import "cocoa/support/live_objects.h"
#import "cocoa/support/main_loop.h"
#include "support/marker.hpp"

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

/// Tells how many of it there are.
@interface Counted : NSObject <NSCopying> {
 @public
  int *alive;
}
@end

@implementation Counted

- (id)copyWithZone:(NSZone *)zone {
  return [self retain];
}

- (void)dealloc {
  --*alive;
  [super dealloc];
}

@end

namespace quillmark {

namespace {

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

  void expectInstalled(const std::string &marker) {
    EXPECT_EQ(installer_.installed("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
    EXPECT_EQ(installer_.installed("~/Applications/Quillmark.app/Contents/Info.plist"), "the client");
    EXPECT_EQ(installer_.installed("~/Quillmark_Components/installationHelper.txt"), marker);
    EXPECT_EQ(installer_.installed("~/Quillmark_Components/client.up.tunnelblick.sh"), "up");
    EXPECT_EQ(installer_.installed("~/Quillmark_Components/client.down.tunnelblick.sh"), "down");
    EXPECT_EQ(installer_.installed("~/Quillmark_Components/QuillmarkGuard"), "guard for Sonoma");
    EXPECT_EQ(spy_.console.back(), "-------------------");
  }

  NSAutoreleasePool *pool_ = [[NSAutoreleasePool alloc] init];
  AppDelegate *delegate_ = [[AppDelegate alloc] init];
  AppKitSpy spy_;
  InstallerFolder installer_;
};

TEST_F(DelegateTest, ClosingTheLastWindowEndsTheApplication) {
  EXPECT_TRUE([delegate_ applicationShouldTerminateAfterLastWindowClosed:NSApp]);
}

TEST_F(DelegateTest, WithoutBothDefaultsTheWindowIsBroughtForwardWithTheDelegateAsSender) {
  FrontWindow *window = [[[FrontWindow alloc] init] autorelease];
  delegate_.window = window;
  setLaunchDefaults(@{@"teamID" : @"T2"});
  [delegate_ applicationDidFinishLaunching:nil];
  EXPECT_EQ(window->sender, delegate_);
  EXPECT_EQ(isRMMLaunch, 0);
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

// The installations, sent as messages.

TEST_F(DelegateTest, AnInstallationPlacesEverythingAndTheWindowChangesOnlyAfterItHasReturned) {
  installer_.addPayload("Sonoma");
  const NSUInteger before = [delegate_ retainCount];
  [delegate_ installQuillmarkApplication];
  EXPECT_FALSE(delegate_.didInstall);
  EXPECT_GT([delegate_ retainCount], before) << "what is posted keeps the delegate";
  expectInstalled(fake::interactiveMarker);
  serveMainQueue();
  EXPECT_TRUE(delegate_.didInstall);
  EXPECT_TRUE([[delegate_.installButtonTitle string] isEqualToString:@"Launch Quillmark"]);
  EXPECT_TRUE(spy_.terminateSenders.empty());
}

TEST_F(DelegateTest, AManagedInstallationPlacesTheSameWithItsOwnMarkerAndEndsTheApplication) {
  installer_.addPayload("Sonoma");
  setLaunchDefaults(@{@"teamID" : @"T2", @"partnerID" : @42});
  [delegate_ installQuillmarkApplicationRMM];
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
  expectInstalled(fake::managedMarker("42", "T2"));
  serveMainQueue();
  EXPECT_FALSE(delegate_.didInstall);
  EXPECT_EQ(delegate_.installButtonTitle, nil);
}

TEST_F(DelegateTest, EachMarkerIsWrittenWhenItsMessageIsSent) {
  setLaunchDefaults(@{@"teamID" : @"T2", @"partnerID" : @"P1"});
  [[NSFileManager defaultManager]
            createDirectoryAtPath:[NSHomeDirectory() stringByAppendingPathComponent:@"Quillmark_Components"]
      withIntermediateDirectories:YES
                       attributes:nil
                            error:nullptr];
  [delegate_ writeToTextFile];
  EXPECT_EQ(installer_.installed("~/Quillmark_Components/installationHelper.txt"), fake::interactiveMarker);
  [delegate_ writeToTextFileRMM];
  EXPECT_EQ(installer_.installed("~/Quillmark_Components/installationHelper.txt"), fake::managedMarker("P1", "T2"));
}

TEST_F(DelegateTest, TheNameOfTheReleaseIsTheCallers) {
  installer_.addPayload("Sonoma");
  NSString *version = nil;
  @autoreleasepool {
    version = [[delegate_ getMacVersion] retain];
    EXPECT_TRUE([[delegate_ homeDirectory] isEqualToString:NSHomeDirectory()]);
  }
  EXPECT_TRUE([version isEqualToString:@"Sonoma"]);
  EXPECT_EQ([version retainCount], 2U);
  [version release];
  [version release];
}

// Who owns what.

TEST_F(DelegateTest, OwnsACopyOfItsAuthorization) {
  NSMutableData *data = [NSMutableData dataWithBytes:"abc" length:3];
  delegate_.authorization = data;
  [data setLength:0];
  EXPECT_EQ([delegate_.authorization length], 3U);
}

TEST_F(DelegateTest, ReleasesItsAuthorizationItsConnectionAndItsTitle) {
  int alive = 3;
  for (NSString *property in @[ @"authorization", @"helperToolConnection", @"installButtonTitle" ]) {
    Counted *value = [[[Counted alloc] init] autorelease];
    value->alive = &alive;
    [delegate_ setValue:value forKey:property];
  }
  [delegate_ release];
  delegate_ = nil;
  EXPECT_EQ(alive, 3);
  [pool_ drain];
  pool_ = [[NSAutoreleasePool alloc] init];
  EXPECT_EQ(alive, 0);
}

TEST_F(DelegateTest, ALaunchAndAClickLeaveNoObjectBehind) {
  // The classes of what they make: titles, the component check's URLs, alerts.
  NSArray *classes =
      @[ [[[[NSMutableAttributedString alloc] init] autorelease] class], [NSURL class], [NSAlert class] ];
  installer_.addComponent("ca.crt", "ca");
  GSDebugAllocationActive(YES);
  std::vector<int> before;
  for (int round = 0; round < 2; ++round) {
    @autoreleasepool {
      [delegate_ applicationDidFinishLaunching:nil];
      [delegate_ componentsArePresent:delegate_];
      [delegate_ installButtonClick:nil];
      delegate_.installButtonTitle = nil;
    }
    std::vector<int> alive;
    for (Class cls in classes) alive.push_back(GSDebugAllocationCount(cls));
    if (round == 1) EXPECT_EQ(alive, before);
    before = alive;
  }
}

TEST_F(DelegateTest, AnOutletWhoseControlIsGoneIsNil) {
  if (getenv("QUILLMARK_SLICE") == nullptr) GTEST_SKIP() << "the gcc runtime has no weak references";
  unsigned count = 0;
  Ivar *const variables = class_copyIvarList([AppDelegate class], &count);
  int outlets = 0;
  for (unsigned i = 0; i < count; ++i) {
    // @"NSButton"; the window and the log's view are not weak.
    const std::string type = ivar_getTypeEncoding(variables[i]);
    Class cls = type[0] == '@' ? objc_getClass(type.substr(2, type.size() - 3).c_str()) : Nil;
    const bool isControl = [cls isSubclassOfClass:[NSControl class]] || [cls isSubclassOfClass:[NSCell class]];
    if (!isControl) continue;
    ++outlets;
    NSString *name = [[NSString stringWithUTF8String:ivar_getName(variables[i])]
        stringByTrimmingCharactersInSet:[NSCharacterSet characterSetWithCharactersInString:@"_"]];
    id control = [[cls alloc] init];
    @autoreleasepool {
      [delegate_ setValue:control forKey:name];
      EXPECT_EQ([delegate_ valueForKey:name], control) << [name UTF8String];
    }
    [control release];
    EXPECT_EQ([delegate_ valueForKey:name], nil) << [name UTF8String];
  }
  free(variables);
  EXPECT_EQ(outlets, 10);
}

TEST_F(DelegateTest, ComponentsArePresentAnswersForTheFolderBesideTheInstaller) {
  EXPECT_FALSE([delegate_ componentsArePresent:delegate_]);
  installer_.addComponent("ca.crt", "ca");
  EXPECT_TRUE([delegate_ componentsArePresent:delegate_]);
  EXPECT_EQ(spy_.alerts.size(), 1U);
  EXPECT_TRUE(spy_.terminateSenders.empty()) << "its callers terminate";
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

TEST_F(DelegateTest, ClickingTheBoxWritesTheSendersStateAndThenTheOutlets) {
  NSButtonCell *outlet = [[[NSButtonCell alloc] init] autorelease];
  NSButtonCell *sender = [[[NSButtonCell alloc] init] autorelease];
  [sender setState:NSOnState];
  delegate_.TCCheckBoxOutlet = outlet;
  [delegate_ clickOnTC:sender];
  EXPECT_EQ(spy_.console, (std::vector<std::string>{"state 1", "TCCheckBoxOutlet state 0"}));
}

TEST_F(DelegateTest, ATitleHasFontAlignmentAndColourAndNoOtherAttribute) {
  for (NSColor *color : {[NSColor purpleColor], (NSColor *)nil}) {
    NSMutableAttributedString *title = [delegate_ attributedString:@"\u00c9t\u00e9" withColor:color];
    NSMutableDictionary *expected = [NSMutableDictionary dictionary];
    NSMutableParagraphStyle *centred = [[[NSMutableParagraphStyle alloc] init] autorelease];
    [centred setAlignment:NSCenterTextAlignment];
    [expected setObject:[NSFont boldSystemFontOfSize:12] forKey:NSFontAttributeName];
    [expected setObject:centred forKey:NSParagraphStyleAttributeName];
    if (color != nil) [expected setObject:color forKey:NSForegroundColorAttributeName];
    NSRange range;
    EXPECT_TRUE([[title attributesAtIndex:0 effectiveRange:&range] isEqual:expected]);
    EXPECT_EQ(range.length, [title length]);
    EXPECT_TRUE([[title string] isEqualToString:@"\u00c9t\u00e9"]);
    [title release];
  }
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

TEST_F(LogTest, AnEntryHasNoAttributes) {
  BareTextView *view = [[[BareTextView alloc] initWithFrame:NSMakeRect(0, 0, 300, 100)] autorelease];
  delegate_.textView = view;
  [delegate_ logText:@"plain"];
  serveMainQueue();
  EXPECT_EQ([[view string] length], 5U);
  EXPECT_EQ([[[view textStorage] attributesAtIndex:0 effectiveRange:nullptr] count], 0U);
}

TEST_F(LogTest, AFormatIsFilledInBeforeItIsQueued) {
  NSMutableString *name = [NSMutableString stringWithString:@"before"];
  [delegate_ logWithFormat:@"%@ %d 100%%\n", name, -5];
  [name setString:@"after"];
  EXPECT_EQ(log(), "before -5 100%\n");
}

TEST_F(LogTest, WithoutATextViewATextIsLostAndNothingIsRaised) {
  delegate_.textView = nil;
  [delegate_ logText:@"lost\n"];
  serveMainQueue();
  delegate_.textView = textView_;
  [delegate_ logText:@"after\n"];
  EXPECT_EQ(log(), "after\n");
  EXPECT_TRUE(spy_.console.empty());
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

}  // namespace

}  // namespace quillmark
