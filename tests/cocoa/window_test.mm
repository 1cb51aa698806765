// The window's behaviour through the real controls.

#include <gtest/gtest.h>

#import "app/cocoa_delegate.h"
#import "cocoa/support/loaded_interface.h"
#import "platform/cocoa/mac.h"
#include "platform/mac.hpp"
#include "window/installed_state.hpp"

namespace quillmark {

namespace {

class Window : public LoadedInterface {
 protected:
  Window() { [delegate_ applicationDidFinishLaunching:nil]; }

  void updateAfterInstall() {
    postUpdateWindowAfterInstall(cocoa::mac().mainQueue, cocoa::strongReference(delegate_));
    serveMainQueue();
  }

  /// The attributes of the button's title, which the whole of it has.
  NSDictionary *titleAttributes() {
    NSAttributedString *title = [installButton() attributedTitle];
    NSRange range;
    NSDictionary *attributes = [title attributesAtIndex:0
                                  longestEffectiveRange:&range
                                                inRange:NSMakeRange(0, [title length])];
    EXPECT_EQ(range.length, [title length]);
    return attributes;
  }

  NSColor *titleColor() { return [titleAttributes() objectForKey:NSForegroundColorAttributeName]; }

  void expectTitle(NSString *text) {
    NSString *title = [[installButton() attributedTitle] string];
    ASSERT_TRUE([title isEqualToString:text]) << [title UTF8String];
    NSFont *font = [titleAttributes() objectForKey:NSFontAttributeName];
    EXPECT_TRUE([font isEqual:[NSFont boldSystemFontOfSize:12]]);
    EXPECT_EQ([font pointSize], 12);
    EXPECT_EQ([[titleAttributes() objectForKey:NSParagraphStyleAttributeName] alignment], NSCenterTextAlignment);
  }

  NSTextField *label(NSString *text) {
    for (NSView *view in [[delegate_.window contentView] subviews]) {
      if ([view isKindOfClass:[NSTextField class]] && [[(NSTextField *)view stringValue] isEqualToString:text]) {
        return (NSTextField *)view;
      }
    }
    ADD_FAILURE() << "no label " << [text UTF8String];
    return nil;
  }

  NSString *const waitText_ = @"Installing can take a minute.\nThe window does not react meanwhile.";
  NSString *const finishedText_ = @"The installer has finished.\nThe button opens Quillmark.";
};

TEST_F(Window, TheButtonReadsInstallInTheDefaultColourAndAfterAnInstallationLaunchQuillmarkInAnother) {
  expectTitle(@"Install");
  EXPECT_EQ(titleColor(), nil);
  updateAfterInstall();
  expectTitle(@"Launch Quillmark");
  EXPECT_NE(titleColor(), nil);
  EXPECT_TRUE(delegate_.didInstall);
}

TEST_F(Window, TheTitleHasTheColourThatItIsGiven) {
  cocoa::CocoaDelegate(delegate_).setInstallButtonTitle("x",
                                                        Color{.red = 0.1, .green = 0.5, .blue = 0.9, .alpha = 0.7});
  expectTitle(@"x");
  NSColor *color = [titleColor() colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
  EXPECT_NEAR([color redComponent], 0.1, 1e-6);
  EXPECT_NEAR([color greenComponent], 0.5, 1e-6);
  EXPECT_NEAR([color blueComponent], 0.9, 1e-6);
  EXPECT_NEAR([color alphaComponent], 0.7, 1e-6);
}

TEST_F(Window, TheLabelBesideTheBoxTheLinksAndTheLabelBetweenThemAreOneSentenceOnOneLine) {
  NSArray *const parts =
      @[ delegate_.TCLabel, delegate_.linkBtnOutlet, delegate_.andText, delegate_.privacyTextOutlet ];
  NSMutableArray *const words = [NSMutableArray array];
  const NSRect box = [delegate_.checkboxOutlet frame];
  CGFloat left = NSMinX(box);
  for (NSControl *part in parts) {
    [words addObject:[part isKindOfClass:[NSButton class]] ? [(NSButton *)part title] : [part stringValue]];
    EXPECT_NEAR(NSMidY([part frame]), NSMidY(box), 1);
    EXPECT_GT(NSMinX([part frame]), left);
    left = NSMinX([part frame]);
    EXPECT_LE([[part cell] cellSize].width, NSWidth([part frame])) << [[words lastObject] UTF8String];
  }
  EXPECT_TRUE([[words componentsJoinedByString:@" "]
      isEqualToString:@"I agree to the Terms & Conditions and the Privacy Policy"]);
  EXPECT_LT(NSMaxX([delegate_.TCLabel frame]) - NSMaxX(box), 4) << "a click on the label ticks the box";
}

TEST_F(Window, TheLinksAreUnderlinedAndInAColourThatIsNotTheTexts) {
  for (NSButton *link in @[ delegate_.linkBtnOutlet, delegate_.privacyTextOutlet ]) {
    NSDictionary *attributes = [[link attributedTitle] attributesAtIndex:0 effectiveRange:nullptr];
    EXPECT_EQ([[attributes objectForKey:NSUnderlineStyleAttributeName] intValue], NSUnderlineStyleSingle);
    NSColor *color =
        [[attributes objectForKey:NSForegroundColorAttributeName] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    EXPECT_GT([color blueComponent], [color redComponent] + 0.5);
  }
}

TEST_F(Window, MadeLargerItGivesTheLogTheRoomAndItMayNotBeMadeSmaller) {
  NSView *content = [delegate_.window contentView];
  NSView *log = [delegate_.textView enclosingScrollView];
  const NSSize size = [content frame].size;
  EXPECT_TRUE(NSEqualSizes([delegate_.window contentMinSize], size));
  const NSRect logBefore = [log frame];
  const NSRect buttonBefore = [installButton() frame];
  const NSRect boxBefore = [delegate_.checkboxOutlet frame];
  [delegate_.window setContentSize:NSMakeSize(size.width + 200, size.height + 100)];
  EXPECT_TRUE(NSEqualSizes([log frame].size, NSMakeSize(NSWidth(logBefore) + 200, NSHeight(logBefore) + 100)));
  EXPECT_TRUE(NSEqualRects([installButton() frame], NSOffsetRect(buttonBefore, 200, 0)));
  EXPECT_TRUE(NSEqualRects([delegate_.checkboxOutlet frame], NSOffsetRect(boxBefore, 0, 100)));
}

TEST_F(Window, TheTabKeyWalksAllControlsFromTheBoxDownAndBackToIt) {
  NSArray *const expected = @[
    delegate_.checkboxOutlet, delegate_.linkBtnOutlet, delegate_.privacyTextOutlet, delegate_.textView, installButton()
  ];
  NSMutableArray *const walked = [NSMutableArray array];
  NSView *view = (NSView *)[delegate_.window initialFirstResponder];
  for (NSUInteger i = 0; i < [expected count] && view != nil; ++i) {
    [walked addObject:view];
    view = [view nextKeyView];
  }
  EXPECT_TRUE([walked isEqual:expected]) << [[walked description] UTF8String];
  EXPECT_EQ(view, delegate_.checkboxOutlet);
}

TEST_F(Window, AfterAnInstallationTheTermsControlsAreHiddenAndTheLineUnderTheButtonChanges) {
  EXPECT_FALSE([label(waitText_) isHidden]);
  EXPECT_TRUE([label(finishedText_) isHidden]);
  updateAfterInstall();
  for (NSView *view in [[delegate_.window contentView] subviews]) {
    const bool isGone = view == delegate_.andText || view == delegate_.privacyTextOutlet ||
                        view == delegate_.checkboxOutlet || view == delegate_.linkBtnOutlet ||
                        view == delegate_.TCLabel || view == label(waitText_);
    EXPECT_EQ(static_cast<bool>([view isHidden]), isGone);
  }
}

TEST_F(Window, ClickingWithTheBoxUntickedShowsHoldOn) {
  [installButton() performClick:nil];
  ASSERT_EQ(spy_.alerts.size(), 1U);
  EXPECT_EQ(spy_.alerts[0].messageText, "Hold On!");
  EXPECT_EQ(spy_.alerts[0].style, NSWarningAlertStyle) << "the platform's default";
}

TEST_F(Window, TickingAndUntickingOnlyWritesConsoleLinesAndNeverDisablesTheButton) {
  for (int click = 0; click < 2; ++click) {
    [delegate_.checkboxOutlet performClick:nil];
    EXPECT_TRUE([installButton() isEnabled]);
  }
  EXPECT_EQ(spy_.console,
            (std::vector<std::string>{"state 1", "TCCheckBoxOutlet state 1", "state 0", "TCCheckBoxOutlet state 0"}));
}

TEST_F(Window, AMixedStateCountsAsTicked) {
  [delegate_.TCCheckBoxOutlet setAllowsMixedState:YES];
  [delegate_.TCCheckBoxOutlet setState:NSMixedState];
  [installButton() performClick:nil];
  // The installation has begun, and finds no components folder.
  ASSERT_EQ(spy_.alerts.size(), 1U);
  EXPECT_EQ(spy_.alerts[0].messageText, "Quillmark Installer Error");
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
}

TEST_F(Window, OnceInstalledALaunchThatFailsLeavesTheInstallerRunningAndOneThatSucceedsEndsIt) {
  updateAfterInstall();
  spy_.workspaceSucceeds = false;
  [installButton() performClick:nil];
  EXPECT_TRUE(spy_.terminateSenders.empty());
  expectTitle(@"Launch Quillmark");
  spy_.workspaceSucceeds = true;
  [installButton() performClick:nil];
  EXPECT_EQ(spy_.launched, (std::vector<std::string>{"Quillmark", "Quillmark"}));
  EXPECT_EQ(spy_.console, std::vector<std::string>{"Failed to launch Quillmark"});
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
}

TEST_F(Window, WithAnOutletWhoseControlIsGoneTheOthersAreHiddenAllTheSame) {
  delegate_.andText = nil;
  updateAfterInstall();
  EXPECT_TRUE([delegate_.TCLabel isHidden]);
}

}  // namespace

}  // namespace quillmark
