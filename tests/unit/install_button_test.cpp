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

TEST(InstallButton, ATickedOrMixedBoxInstallsAndTheWindowChangesOnlyAfterTheClickHasReturned) {
  for (const int state : {1, -1}) {
    FakeMac mac;
    fake::expectShellCommands(mac);
    mac.delegate->boxState = state;

    installButtonClick(mac.mac(), mac.delegate);
    EXPECT_TRUE(mac.alertPanel.shown.empty());
    EXPECT_EQ(mac.fileManager.at("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
    EXPECT_FALSE(mac.delegate->installed);

    mac.mainQueue.run();
    EXPECT_TRUE(mac.delegate->installed);
  }
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

TEST(TermsBox, TheSendersStateAndTheOutletsStateAreWrittenApart) {
  FakeMac mac;
  mac.delegate->boxState = 0;
  clickOnTC(mac.console, *mac.delegate, 1);
  EXPECT_EQ(mac.console.lines, (std::vector<std::string>{"state 1", "TCCheckBoxOutlet state 0"}));
}

}  // namespace

}  // namespace quillmark
