#include "app/install_button.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"
#include "window/installed_state.hpp"

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
}

TEST(InstallButton, ALaunchThatFailsLeavesTheInstallerRunningAndASecondClickTriesAgain) {
  FakeMac mac;
  updateWindowAfterInstall(*mac.delegate);
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

}  // namespace

}  // namespace quillmark
