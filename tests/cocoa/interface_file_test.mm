// The wiring of the interface file, read back from the objects that it made.

#include <gtest/gtest.h>

#import "cocoa/support/loaded_interface.h"

namespace quillmark {

namespace {

using InterfaceFile = LoadedInterface;

struct Outlet {
  NSString *name;
  Class cls;
};

TEST_F(InterfaceFile, ConnectsEveryOutletToAnObjectOfItsClass) {
  const Outlet outlets[] = {
      {@"window", [NSWindow class]},
      {@"textView", [NSTextView class]},
      {@"tac", [NSTextField class]},
      {@"TACText", [NSTextFieldCell class]},
      {@"TCCheckBoxOutlet", [NSButtonCell class]},
      {@"termsAndConditionsTextField", [NSTextField class]},
      {@"checkboxOutlet", [NSButton class]},
      {@"linkBtnOutlet", [NSButton class]},
      {@"TCLabel", [NSTextField class]},
      {@"andText", [NSTextField class]},
      {@"privacyTextOutlet", [NSButton class]},
      {@"termsAndConditionsText", [NSTextField class]},
  };
  for (const Outlet &outlet : outlets) {
    EXPECT_TRUE([[delegate_ valueForKey:outlet.name] isKindOfClass:outlet.cls]) << [outlet.name UTF8String];
  }
  EXPECT_EQ([delegate_.checkboxOutlet cell], delegate_.TCCheckBoxOutlet);
}

TEST_F(InterfaceFile, SendsEveryActionToTheDelegate) {
  expectAction(delegate_.checkboxOutlet, @selector(clickOnTC:));
  expectAction(delegate_.linkBtnOutlet, @selector(termsAndConditionClicked:));
  expectAction(delegate_.privacyTextOutlet, @selector(privacyPolicyClicked:));
  expectAction(installButton(), @selector(installButtonClick:));
  expectAction(menuItem(@"Quit Quillmark Installer"), @selector(doQuitApplication:));
  expectAction(menuItem(@"Install Helper (Quits If It Fails)"), @selector(installAction:));
  expectAction(menuItem(@"Helper Version"), @selector(getVersionAction:));
  expectAction(menuItem(@"Bind Low Port"), @selector(bindAction:));
}

TEST_F(InterfaceFile, TheHelpersCommandsAreBelowHelpUnderALineThatSaysWhoTheyAreFor) {
  NSMenu *menu = [menuItem(@"Install Helper (Quits If It Fails)") menu];
  EXPECT_TRUE([[menu title] isEqualToString:@"Help"]);
  EXPECT_EQ([menu numberOfItems], 4);
  EXPECT_EQ([menu itemAtIndex:0], menuItem(@"Helper Tool, for Support Only"));
  EXPECT_FALSE([[menu itemAtIndex:0] action]);
}

TEST_F(InterfaceFile, TheWindowIsNotVisibleUntilItIsBroughtForward) {
  EXPECT_FALSE([delegate_.window isVisible]);
  [delegate_ applicationDidFinishLaunching:nil];
  EXPECT_TRUE([delegate_.window isVisible]);
}

TEST_F(InterfaceFile, CopyAndSelectAllAndTheUsualItemsAreThere) {
  expectSelector([menuItem(@"Copy") action], @selector(copy:));
  expectSelector([menuItem(@"Select All") action], @selector(selectAll:));
  expectSelector([menuItem(@"About Quillmark Installer") action], @selector(orderFrontStandardAboutPanel:));
  expectSelector([menuItem(@"Hide Quillmark Installer") action], @selector(hide:));
}

TEST_F(InterfaceFile, TheLogCanBeSelectedButNotEdited) {
  EXPECT_TRUE([delegate_.textView isSelectable]);
  EXPECT_FALSE([delegate_.textView isEditable]);
}

TEST_F(InterfaceFile, TheControlsThatStayAreNotTheOnesThatAreHidden) {
  for (NSTextField *stays in
       @[ delegate_.tac, delegate_.termsAndConditionsTextField, delegate_.termsAndConditionsText ]) {
    EXPECT_NE(stays, delegate_.TCLabel);
    EXPECT_NE(stays, delegate_.andText);
  }
}

}  // namespace

}  // namespace quillmark
