#include "shell/launch_mode.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const Journal windowShown = {"didInstall = NO", "installButtonTitle = Install, bold 12, centred",
                             "makeKeyAndOrderFront"};

Journal launch(FakeMac &mac) {
  applicationDidFinishLaunching(mac.mac(), mac.delegate);
  return mac.journal;
}

Journal afterReading(Journal reads) {
  reads.insert(reads.end(), windowShown.begin(), windowShown.end());
  return reads;
}

TEST(LaunchMode, WithoutTeamIDAndPartnerIDTheWindowIsShownWithInstall) {
  FakeMac mac;
  EXPECT_EQ(launch(mac), afterReading({"default teamID"}));
  EXPECT_FALSE(mac.delegate->managedLaunch);
}

TEST(LaunchMode, TeamIDPresentAndPartnerIDAbsentIsAnInteractiveLaunch) {
  FakeMac mac;
  mac.userDefaults.values["teamID"] = "T2";
  EXPECT_EQ(launch(mac), afterReading({"default teamID", "default partnerID"}));
  EXPECT_FALSE(mac.delegate->managedLaunch);
}

TEST(LaunchMode, PartnerIDPresentAndTeamIDAbsentIsInteractiveAndPartnerIDIsNotEvenRead) {
  FakeMac mac;
  mac.userDefaults.values["partnerID"] = "P1";
  EXPECT_EQ(launch(mac), afterReading({"default teamID"}));
  EXPECT_FALSE(mac.delegate->managedLaunch);
}

TEST(LaunchMode, AnInteractiveLaunchSetsDidInstallToNo) {
  FakeMac mac;
  mac.delegate->installed = true;
  launch(mac);
  EXPECT_FALSE(mac.delegate->installed);
}

class ManagedLaunch : public testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(ManagedLaunch, BothPresentInstallsAtOnceWithoutTheWindow) {
  FakeMac mac;
  fake::expectShellCommands(mac);
  mac.userDefaults.values["teamID"] = GetParam().first;
  mac.userDefaults.values["partnerID"] = GetParam().second;

  const Journal journal = launch(mac);

  const Journal start(journal.begin(), journal.begin() + 3);
  EXPECT_EQ(start, (Journal{"default teamID", "default partnerID", "isRMMLaunch = 1"}));
  EXPECT_EQ(journal.back(), "terminate");
  for (const std::string &windowCall : windowShown) {
    EXPECT_EQ(std::count(journal.begin(), journal.end(), windowCall), 0) << windowCall;
  }
  EXPECT_EQ(mac.delegate->title, std::nullopt);
  EXPECT_TRUE(mac.delegate->managedLaunch);
  EXPECT_EQ(mac.fileManager.at("/Applications/Quillmark.app/Contents/Info.plist"), "the client");
}

INSTANTIATE_TEST_SUITE_P(AnyValues, ManagedLaunch,
                         testing::Values(std::pair("T2", "P1"), std::pair("", ""), std::pair("", "P1"),
                                         std::pair("(null)", "0")));

}  // namespace

}  // namespace quillmark
