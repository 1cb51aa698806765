#include "app/launch_mode.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const Journal windowShown = {"didInstall = NO", "installButtonTitle = Install", "makeKeyAndOrderFront"};

TEST(LaunchMode, WithoutBothTeamIDAndPartnerIDTheWindowIsShownWithInstallAndNeitherIsRead) {
  for (const std::string only : {"neither", "partnerID", "teamID"}) {
    FakeMac mac;
    mac.userDefaults.values[only] = "T2";
    applicationDidFinishLaunching(mac.mac(), mac.delegate);
    EXPECT_EQ(mac.journal, windowShown) << only;
    Journal asked = {"has teamID"};
    if (only == "teamID") asked.emplace_back("has partnerID");
    EXPECT_EQ(mac.userDefaults.asked, asked) << only;
  }
}

TEST(LaunchMode, WithBothOfAnyValuesItInstallsAtOnceWithoutTheWindow) {
  for (const auto &[teamID, partnerID] : {std::pair("T2", "P1"), std::pair("", ""), std::pair("(null)", "0")}) {
    FakeMac mac;
    fake::expectShellCommands(mac);
    mac.userDefaults.values = {{"teamID", teamID}, {"partnerID", partnerID}};
    applicationDidFinishLaunching(mac.mac(), mac.delegate);
    EXPECT_EQ(mac.journal.front(), "isRMMLaunch = 1");
    EXPECT_EQ(mac.journal.back(), "terminate");
    for (const std::string &windowAct : windowShown) EXPECT_FALSE(fake::contains(mac.journal, windowAct)) << windowAct;
    EXPECT_EQ(mac.fileManager.at("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
  }
}

}  // namespace

}  // namespace quillmark
