#include "install/layout.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;

TEST(Layout, TheStagedScriptsLieInTheStagingFolderWithOneSeparatorBetweenEachLevel) {
  FakeMac mac;
  const std::string folder = layout::stagingFolder(mac.directories);
  EXPECT_EQ(layout::stagedUpScript(folder), "/Users/ann/Quillmark_Components/client.up.tunnelblick.sh");
  EXPECT_EQ(layout::stagedDownScript(folder), "/Users/ann/Quillmark_Components/client.down.tunnelblick.sh");
}

TEST(Layout, TheMarkerFileLiesInTheStagingFolder) {
  FakeMac mac;
  EXPECT_EQ(layout::markerFile(layout::stagingFolder(mac.directories)),
            "/Users/ann/Quillmark_Components/installationHelper.txt");
}

TEST(Layout, BothApplicationCopiesLieInTheirApplicationsFolders) {
  FakeMac mac;
  EXPECT_STREQ(layout::systemApplicationCopy, "/Applications/Quillmark.app");
  EXPECT_EQ(layout::userApplicationCopy(mac.directories), "/Users/ann/Applications/Quillmark.app");
}

TEST(Layout, TheWireGuardComponentPathHasTheMacsFolderInTheMiddle) {
  EXPECT_EQ(layout::wireGuardComponentPath("osIntel"), "WGComponents/osIntel/QuillmarkGuard");
  EXPECT_EQ(layout::wireGuardComponentPath("osM1"), "WGComponents/osM1/QuillmarkGuard");
  EXPECT_EQ(layout::wireGuardComponentPath("Sonoma"), "WGComponents/Sonoma/QuillmarkGuard");
}

TEST(Layout, AnUnknownMacIsWrittenAsTheNullPlaceholder) {
  EXPECT_EQ(layout::wireGuardComponentPath(std::nullopt), "WGComponents/(null)/QuillmarkGuard");
}

TEST(Layout, TheTemporaryCopyHasOneSeparatorWhateverTheFolderEndsIn) {
  EXPECT_EQ(layout::temporaryWireGuardCopy("/var/folders/T/"), "/var/folders/T/QuillmarkGuard");
  EXPECT_EQ(layout::temporaryWireGuardCopy("/var/folders/T"), "/var/folders/T/QuillmarkGuard");
}

TEST(Layout, TheBundlesResourcesAreAskedForByNameAndType) {
  FakeMac mac;
  mac.mainBundle.resources = {
      {"Quillmark.app", "/client"}, {"client.up.tunnelblick.sh", "/up"}, {"client.down.tunnelblick.sh", "/down"}};
  EXPECT_EQ(layout::applicationResource(mac.mainBundle), "/client");
  EXPECT_EQ(layout::upScriptResource(mac.mainBundle), "/up");
  EXPECT_EQ(layout::downScriptResource(mac.mainBundle), "/down");
}

TEST(Layout, AMissingResourceIsNothing) {
  FakeMac mac;
  mac.mainBundle.resources.clear();
  EXPECT_EQ(layout::applicationResource(mac.mainBundle), std::nullopt);
}

}  // namespace

}  // namespace quillmark
