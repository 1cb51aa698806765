// The window's behaviour through the real controls.

#include <gtest/gtest.h>

#include <cmath>

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

  void expectTitle(NSString *text, NSColor *color) {
    NSAttributedString *title = [installButton() attributedTitle];
    ASSERT_TRUE([[title string] isEqualToString:text]) << [[title string] UTF8String];
    NSRange range;
    NSDictionary *attributes = [title attributesAtIndex:0
                                  longestEffectiveRange:&range
                                                inRange:NSMakeRange(0, [title length])];
    EXPECT_EQ(range.length, [title length]);
    NSFont *font = [attributes objectForKey:NSFontAttributeName];
    EXPECT_TRUE([font isEqual:[NSFont boldSystemFontOfSize:12]]);
    EXPECT_EQ([font pointSize], 12);
    EXPECT_EQ([[attributes objectForKey:NSParagraphStyleAttributeName] alignment], NSCenterTextAlignment);
    NSColor *foreground = [attributes objectForKey:NSForegroundColorAttributeName];
    if (color == nil) {
      EXPECT_EQ(foreground, nil);
      return;
    }
    foreground = [foreground colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    color = [color colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    EXPECT_NEAR([foreground redComponent], [color redComponent], 1e-6);
    EXPECT_NEAR([foreground greenComponent], [color greenComponent], 1e-6);
    EXPECT_NEAR([foreground blueComponent], [color blueComponent], 1e-6);
    EXPECT_NEAR([foreground alphaComponent], 1.0, 1e-6);
  }

  std::vector<bool> hidden() {
    std::vector<bool> states;
    for (NSView *view in [[delegate_.window contentView] subviews]) states.push_back([view isHidden]);
    return states;
  }

  NSColor *green_ = [NSColor colorWithCalibratedRed:0.2 green:0.8 blue:0.2 alpha:1.0];
};

TEST_F(Window, AtAnInteractiveLaunchTheButtonReadsInstallBoldCentredInTheDefaultColour) {
  expectTitle(@"Install", nil);
}

TEST_F(Window, AfterAnInstallationTheButtonReadsLaunchQuillmarkInBoldGreenCentred) {
  updateAfterInstall();
  expectTitle(@"Launch Quillmark", green_);
  EXPECT_TRUE(delegate_.didInstall);
}

TEST_F(Window, AfterAnInstallationTheTermsControlsAndNothingElseAreHidden) {
  updateAfterInstall();
  for (NSView *view in [[delegate_.window contentView] subviews]) {
    const bool isTermsControl = view == delegate_.andText || view == delegate_.privacyTextOutlet ||
                                view == delegate_.checkboxOutlet || view == delegate_.linkBtnOutlet ||
                                view == delegate_.TCLabel;
    EXPECT_EQ(static_cast<bool>([view isHidden]), isTermsControl);
  }
}

TEST_F(Window, TheUpdateRunTwiceLeavesTheSameWindow) {
  updateAfterInstall();
  const auto once = hidden();
  updateAfterInstall();
  EXPECT_EQ(hidden(), once);
  expectTitle(@"Launch Quillmark", green_);
}

TEST_F(Window, ClickingWithTheBoxUntickedShowsHoldOnEveryTime) {
  [installButton() performClick:nil];
  [installButton() performClick:nil];
  ASSERT_EQ(spy_.alerts.size(), 2U);
  for (const auto &alert : spy_.alerts) {
    EXPECT_EQ(alert.messageText, "Hold On!");
    EXPECT_EQ(alert.informativeText, "You must agree to Terms & Conditions to continue");
    EXPECT_EQ(alert.style, NSWarningAlertStyle) << "the platform's default";
    EXPECT_TRUE(alert.buttons.empty());
  }
  EXPECT_EQ(spy_.console, (std::vector<std::string>{"the box is unchecked", "the box is unchecked"}));
  EXPECT_FALSE(delegate_.didInstall);
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

TEST_F(Window, OnceInstalledAClickLaunchesTheClientByItsBareNameAndTerminates) {
  updateAfterInstall();
  [installButton() performClick:nil];
  EXPECT_EQ(spy_.launched, std::vector<std::string>{"Quillmark"});
  EXPECT_EQ(spy_.terminateSenders, std::vector<id>{delegate_});
}

TEST_F(Window, OnceInstalledALaunchThatFailsLeavesTheInstallerRunningAndASecondClickTriesAgain) {
  updateAfterInstall();
  spy_.workspaceSucceeds = false;
  [installButton() performClick:nil];
  [installButton() performClick:nil];
  EXPECT_EQ(spy_.launched.size(), 2U);
  EXPECT_EQ(spy_.console, (std::vector<std::string>{"Failed to launch Quillmark", "Failed to launch Quillmark"}));
  EXPECT_TRUE(spy_.terminateSenders.empty());
  EXPECT_TRUE(spy_.alerts.empty());
  expectTitle(@"Launch Quillmark", green_);
}

TEST_F(Window, WithAnOutletWhoseControlIsGoneTheOthersAreHiddenAllTheSame) {
  delegate_.andText = nil;
  updateAfterInstall();
  EXPECT_TRUE([delegate_.TCLabel isHidden]);
}

}  // namespace

}  // namespace quillmark
