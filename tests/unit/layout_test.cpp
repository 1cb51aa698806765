#include "install/layout.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;

TEST(Layout, TheCopiesOfTheApplicationAndTheMarkerLieWhereTheirReadersLook) {
  FakeMac mac;
  EXPECT_STREQ(layout::systemApplicationCopy, "/Applications/Quillmark.app");
  EXPECT_EQ(layout::userApplicationCopy(mac.directories), "/Users/ann/Applications/Quillmark.app");
  EXPECT_EQ(layout::markerFile(layout::stagingFolder(mac.directories)),
            "/Users/ann/Quillmark_Components/installationHelper.txt");
}

TEST(Layout, TheWireGuardSourceHasTheMacsFolderInTheMiddle) {
  EXPECT_EQ(layout::wireGuardComponentSource("/c", "osM1"), "/c/WGComponents/osM1/QuillmarkGuard");
  EXPECT_EQ(layout::wireGuardComponentSource("/c", std::nullopt), "/c/WGComponents/(null)/QuillmarkGuard");
}

TEST(Layout, WithoutAComponentsFolderThereIsNoSource) {
  EXPECT_EQ(layout::componentSource(std::nullopt, "ca.crt"), std::nullopt);
  EXPECT_EQ(layout::wireGuardComponentSource(std::nullopt, "osM1"), std::nullopt);
}

TEST(Layout, TheBundlesResourcesAreAskedForByNameAndTypeAndAreNothingIfMissing) {
  FakeMac mac;
  mac.mainBundle.resources = {{"Quillmark.app", "/client"}, {"client.up.tunnelblick.sh", "/up"}};
  EXPECT_EQ(layout::applicationResource(mac.mainBundle), "/client");
  EXPECT_EQ(layout::upScriptResource(mac.mainBundle), "/up");
  EXPECT_EQ(layout::downScriptResource(mac.mainBundle), std::nullopt);
}

}  // namespace

}  // namespace quillmark
