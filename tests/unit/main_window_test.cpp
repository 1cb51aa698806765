#include "shell/main_window.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

TEST(InstallButton, AnUntickedBoxShowsHoldOnEveryTimeAndWritesToTheConsoleEachTime) {
  FakeMac mac;
  for (int click = 1; click <= 3; ++click) installButtonClick(mac.mac(), mac.delegate);

  EXPECT_EQ(mac.journal, (Journal{"console the box is unchecked", "alert Hold On!",  //
                                  "console the box is unchecked", "alert Hold On!",  //
                                  "console the box is unchecked", "alert Hold On!"}));
  const Alert &alert = mac.alertPanel.shown.front();
  EXPECT_EQ(alert.informativeText, "You must agree to Terms & Conditions to continue");
  EXPECT_EQ(alert.style, std::nullopt);
  EXPECT_TRUE(alert.buttons.empty());
}

TEST(InstallButton, NothingElseChangesWhenTheBoxIsUnticked) {
  FakeMac mac;
  const auto before = mac.fileManager.tree("/");
  installButtonClick(mac.mac(), mac.delegate);
  EXPECT_EQ(mac.fileManager.tree("/"), before);
  EXPECT_FALSE(mac.delegate->installed);
  EXPECT_EQ(mac.delegate->title, std::nullopt);
}

class TickedBox : public testing::TestWithParam<int> {};

TEST_P(TickedBox, CountsAsTicked) {
  FakeMac mac;
  fake::expectShellCommands(mac);
  mac.delegate->boxState = GetParam();

  installButtonClick(mac.mac(), mac.delegate);

  EXPECT_TRUE(mac.alertPanel.shown.empty());
  EXPECT_EQ(mac.fileManager.at("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
}

INSTANTIATE_TEST_SUITE_P(OnState, TickedBox, testing::Values(1));
INSTANTIATE_TEST_SUITE_P(MixedState, TickedBox, testing::Values(-1));

TEST(InstallButton, TheWindowChangesOnlyAfterTheClickHasReturned) {
  FakeMac mac;
  fake::expectShellCommands(mac);
  mac.delegate->boxState = 1;

  installButtonClick(mac.mac(), mac.delegate);
  EXPECT_FALSE(mac.delegate->installed);
  EXPECT_EQ(mac.delegate->title, std::nullopt);

  mac.mainQueue.run();
  EXPECT_TRUE(mac.delegate->installed);
}

TEST(InstallButton, OnceInstalledItLaunchesTheClientByItsBareNameAndTerminates) {
  FakeMac mac;
  mac.delegate->installed = true;
  installButtonClick(mac.mac(), mac.delegate);
  EXPECT_EQ(mac.journal, (Journal{"launchApplication Quillmark", "terminate"}));
  EXPECT_EQ(mac.application.terminateSender, mac.delegate.get());
}

TEST(InstallButton, ALaunchThatFailsLeavesTheInstallerRunningAndASecondClickTriesAgain) {
  FakeMac mac;
  updateWindowAfterInstall(mac.typography, *mac.delegate);
  const auto title = mac.delegate->title;
  mac.journal.clear();
  mac.workspace.succeeds = false;

  installButtonClick(mac.mac(), mac.delegate);
  installButtonClick(mac.mac(), mac.delegate);

  EXPECT_EQ(mac.journal, (Journal{"launchApplication Quillmark", "console Failed to launch Quillmark",  //
                                  "launchApplication Quillmark", "console Failed to launch Quillmark"}));
  EXPECT_TRUE(mac.delegate->installed);
  EXPECT_EQ(mac.delegate->title, title);
}

TEST(InstallButton, OnceInstalledTheBoxIsNotLookedAt) {
  FakeMac mac;
  mac.delegate->installed = true;
  mac.delegate->boxState = 0;
  installButtonClick(mac.mac(), mac.delegate);
  EXPECT_TRUE(mac.alertPanel.shown.empty());
}

TEST(TermsBox, TickingAndUntickingOnlyWritesConsoleLines) {
  FakeMac mac;
  for (const int state : {1, 0, -1}) {
    mac.delegate->boxState = state;
    clickOnTC(mac.console, *mac.delegate, state);
  }
  EXPECT_EQ(mac.journal, (Journal{"console state 1", "console TCCheckBoxOutlet state 1",  //
                                  "console state 0", "console TCCheckBoxOutlet state 0",  //
                                  "console state -1", "console TCCheckBoxOutlet state -1"}));
}

TEST(TermsBox, TheSendersStateAndTheOutletsStateAreWrittenApart) {
  FakeMac mac;
  mac.delegate->boxState = 0;
  clickOnTC(mac.console, *mac.delegate, 1);
  EXPECT_EQ(mac.console.lines, (std::vector<std::string>{"state 1", "TCCheckBoxOutlet state 0"}));
}

TEST(Links, EachOpensItsPageOnTheVendorsHost) {
  FakeMac mac;
  termsAndConditionClicked(mac.workspace);
  privacyPolicyClicked(mac.workspace);
  EXPECT_EQ(mac.journal, (Journal{"openURL https://" QUILLMARK_VENDOR_HOST "/terms-and-conditions",
                                  "openURL https://" QUILLMARK_VENDOR_HOST "/privacy-policy-2/"}));
}

TEST(Links, ALinkThatCannotBeOpenedReportsNothing) {
  FakeMac mac;
  mac.workspace.succeeds = false;
  termsAndConditionClicked(mac.workspace);
  privacyPolicyClicked(mac.workspace);
  EXPECT_TRUE(mac.console.lines.empty());
  EXPECT_TRUE(mac.alertPanel.shown.empty());
}

TEST(ButtonTitle, WithoutAColourOnlyFontAndAlignmentAreSet) {
  FakeMac mac;
  const auto title = attributedString(mac.typography, "Install", nullptr);
  EXPECT_EQ(dynamic_cast<fake::FakeAttributedString &>(*title).description, "Install, bold 12, centred");
}

TEST(ButtonTitle, WithAColourTheWholeTextHasIt) {
  FakeMac mac;
  const fake::FakeColor red("(1 0 0 1)");
  const auto title = attributedString(mac.typography, "Stop", &red);
  EXPECT_EQ(dynamic_cast<fake::FakeAttributedString &>(*title).description, "Stop, bold 12, (1 0 0 1), centred");
}

const Journal windowUpdate = {
    "didInstall = YES",    "installButtonTitle = Launch Quillmark, bold 12, (0.2 0.8 0.2 1), centred",
    "hide andText",        "hide privacyTextOutlet",
    "hide checkboxOutlet", "hide linkBtnOutlet",
    "hide TCLabel"};

TEST(WindowAfterInstall, TheTermsControlsAreHiddenAndTheButtonReadsLaunchQuillmarkInGreenCentredBold12) {
  FakeMac mac;
  updateWindowAfterInstall(mac.typography, *mac.delegate);
  EXPECT_EQ(mac.journal, windowUpdate);
}

TEST(WindowAfterInstall, RunningTheUpdateTwiceLeavesTheSameWindow) {
  FakeMac mac;
  updateWindowAfterInstall(mac.typography, *mac.delegate);
  const auto title = mac.delegate->title;
  const auto hidden = mac.delegate->hidden;
  updateWindowAfterInstall(mac.typography, *mac.delegate);
  EXPECT_EQ(mac.delegate->title, title);
  EXPECT_EQ(mac.delegate->hidden, hidden);
  EXPECT_TRUE(mac.delegate->installed);
}

TEST(WindowAfterInstall, ThePostedUpdateNeverRunsInsideTheCall) {
  FakeMac mac;
  postUpdateWindowAfterInstall(mac.mac(), mac.delegate);
  EXPECT_EQ(mac.journal, Journal{"dispatchAsync"});
  mac.mainQueue.run();
  mac.journal.erase(mac.journal.begin());
  EXPECT_EQ(mac.journal, windowUpdate);
}

TEST(WindowAfterInstall, ThePostedUpdateKeepsTheDelegateAliveUntilItHasRun) {
  FakeMac mac;
  const std::weak_ptr<Delegate> delegate = mac.delegate;
  postUpdateWindowAfterInstall(mac.mac(), mac.delegate);
  mac.delegate.reset();
  EXPECT_FALSE(delegate.expired());
  mac.mainQueue.run();
  EXPECT_TRUE(delegate.expired());
}

}  // namespace

}  // namespace quillmark
