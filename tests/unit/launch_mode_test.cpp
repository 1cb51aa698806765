#include "app/launch_mode.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const Journal windowShown = {"didInstall = NO", "installButtonTitle = Install", "makeKeyAndOrderFront"};

Journal launch(FakeMac &mac) {
  applicationDidFinishLaunching(mac.mac(), mac.delegate);
  return mac.journal;
}

TEST(LaunchMode, WithoutTeamIDAndPartnerIDTheWindowIsShownWithInstall) {
  FakeMac mac;
  EXPECT_EQ(launch(mac), windowShown);
  EXPECT_EQ(mac.userDefaults.asked, std::vector<std::string>{"has teamID"});
}

TEST(LaunchMode, TeamIDPresentAndPartnerIDAbsentIsAnInteractiveLaunch) {
  FakeMac mac;
  mac.userDefaults.values["teamID"] = "T2";
  EXPECT_EQ(launch(mac), windowShown);
  EXPECT_EQ(mac.userDefaults.asked, (std::vector<std::string>{"has teamID", "has partnerID"}));
}

TEST(LaunchMode, PartnerIDPresentAndTeamIDAbsentIsInteractiveAndPartnerIDIsNotEvenRead) {
  FakeMac mac;
  mac.userDefaults.values["partnerID"] = "P1";
  EXPECT_EQ(launch(mac), windowShown);
  EXPECT_EQ(mac.userDefaults.asked, std::vector<std::string>{"has teamID"});
}

class ManagedLaunch : public testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(ManagedLaunch, BothPresentInstallsAtOnceWithoutTheWindow) {
  FakeMac mac;
  fake::expectShellCommands(mac);
  mac.userDefaults.values["teamID"] = GetParam().first;
  mac.userDefaults.values["partnerID"] = GetParam().second;

  const Journal journal = launch(mac);

  EXPECT_EQ(journal.front(), "isRMMLaunch = 1");
  EXPECT_EQ(journal.back(), "terminate");
  for (const std::string &windowAct : windowShown) EXPECT_FALSE(fake::contains(journal, windowAct)) << windowAct;
  EXPECT_EQ(mac.delegate->title, std::nullopt);
  EXPECT_EQ(mac.fileManager.at("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
}

INSTANTIATE_TEST_SUITE_P(AnyValues, ManagedLaunch,
                         testing::Values(std::pair("T2", "P1"), std::pair("", ""), std::pair("", "P1"),
                                         std::pair("(null)", "0")));

}  // namespace

}  // namespace quillmark
