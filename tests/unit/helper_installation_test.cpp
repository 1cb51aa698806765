#include "install/helper_installation.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const std::string installer = "/Volumes/Quillmark Installer/Quillmark Installer.app";
const std::string resources = installer + "/Contents/Resources";
const std::string components = "/Volumes/Quillmark Installer/components";
const std::string temporary = "/var/folders/T";
const std::vector<std::string> vpnFiles = {"ca.crt", "client.crt", "client.key", "client.ovpn", "login.conf", "ta.key"};

class HelperInstallation : public testing::Test {
 protected:
  HelperInstallation() {
    for (const std::string &name : vpnFiles) mac_.fileManager.addFile(components + "/" + name, name);
  }

  void install() { installQuillmarkApplication2(mac_.mac(), mac_.delegate); }
  std::optional<std::string> staged(const std::string &name) { return mac_.fileManager.at(temporary + "/" + name); }

  void reply(const std::optional<Error> &error) {
    auto &sent = mac_.helperConnections.helper.sent;
    ASSERT_FALSE(sent.empty());
    const auto message = sent.front();
    sent.pop_front();
    message.install(error);
  }

  std::string log() {
    mac_.mainQueue.run();
    return mac_.delegate->log;
  }

  FakeMac mac_;
};

TEST_F(HelperInstallation, TheItemsAreGatheredInOrderAndThenHandedOver) {
  install();
  Journal expected = {
      "remove " + temporary + "/Quillmark.app",
      "copy " + resources + "/Quillmark.app to " + temporary + "/Quillmark.app",
      "remove " + temporary + "/client.up.tunnelblick.sh",
      "copy " + resources + "/client.up.tunnelblick.sh to " + temporary + "/client.up.tunnelblick.sh",
      "remove " + temporary + "/client.down.tunnelblick.sh",
      "copy " + resources + "/client.down.tunnelblick.sh to " + temporary + "/client.down.tunnelblick.sh",
  };
  for (const std::string &name : vpnFiles) {
    expected.push_back("remove " + temporary + "/" + name);
    expected.push_back("copy " + components + "/" + name + " to " + temporary + "/" + name);
  }
  const Journal command = {
      "UUIDString",
      "console (null)",
      "privilegedConnection com.quillmark.customInstaller.Helper",
      "helperToolConnection is set",
      "connection 1 setRemoteObjectInterface",
      "connection 1 setInvalidationHandler",
      "connection 1 resume",
      "connection 1 remoteObjectProxy",
      "send install /var/folders/T/",
  };
  expected.insert(expected.end(), command.begin(), command.end());
  EXPECT_EQ(mac_.journal, expected);
}

TEST_F(HelperInstallation, TheComponentsFolderIsResolvedBehindTheScripts) {
  mac_.application.version = 2487.0;
  install();
  const auto resolved = std::find(mac_.journal.begin(), mac_.journal.end(), "dlclose");
  ASSERT_NE(resolved, mac_.journal.end());
  EXPECT_EQ(resolved[-3],
            "copy " + resources + "/client.down.tunnelblick.sh to " + temporary + "/client.down.tunnelblick.sh");
  EXPECT_EQ(resolved[1], "remove " + temporary + "/ca.crt");
}

TEST_F(HelperInstallation, RunTwiceInARowTheSecondRunReplacesEveryStagedItem) {
  install();
  mac_.fileManager.addFile(resources + "/Quillmark.app/Contents/Info.plist", "newer client");
  mac_.fileManager.addFile(temporary + "/Quillmark.app/Contents/leftover", "old");
  mac_.fileManager.addFile(components + "/ca.crt", "newer ca");
  install();
  EXPECT_EQ(staged("Quillmark.app/Contents/Info.plist"), "newer client");
  EXPECT_EQ(staged("Quillmark.app/Contents/leftover"), std::nullopt);
  EXPECT_EQ(staged("Quillmark.app/Quillmark.app"), std::nullopt);
  EXPECT_EQ(staged("ca.crt"), "newer ca");
}

TEST_F(HelperInstallation, WithTheInstallerRelocatedTheVPNFilesComeFromBesideTheOriginal) {
  mac_.application.version = 2487.0;
  mac_.dynamicLoader.flag = true;
  mac_.dynamicLoader.originalPath = "/Users/ann/Downloads/Q/Quillmark Installer.app";
  for (const std::string &name : vpnFiles) {
    mac_.fileManager.addFile("/Users/ann/Downloads/Q/components/" + name, "original " + name);
  }
  install();
  for (const std::string &name : vpnFiles) EXPECT_EQ(staged(name), "original " + name);
  EXPECT_EQ(fake::FakeURLs::alive, 0);
}

TEST_F(HelperInstallation, WithoutComponentsNoAlertIsShownAndOnlyTheBundleItemsAreStagedAndSent) {
  for (const bool relocatedFromAnUnknownPlace : {true, false}) {
    mac_.application.version = 2487.0;
    mac_.dynamicLoader.flag = relocatedFromAnUnknownPlace;
    if (!relocatedFromAnUnknownPlace) (void)mac_.fileManager.removeItemAtPath(components);
    for (const std::string &name : vpnFiles) mac_.fileManager.addFile(temporary + "/" + name, "stale");
    install();
    EXPECT_TRUE(mac_.alertPanel.shown.empty());
    EXPECT_EQ(staged("Quillmark.app/Contents/Info.plist"), "the client");
    EXPECT_EQ(staged("client.up.tunnelblick.sh"), "up");
    EXPECT_EQ(staged("client.down.tunnelblick.sh"), "down");
    for (const std::string &name : vpnFiles) EXPECT_EQ(staged(name), std::nullopt) << "absent, not stale";
    EXPECT_EQ(mac_.journal.back(), "send install /var/folders/T/");
  }
}

TEST_F(HelperInstallation, AFileWhoseCopyFailsIsAbsentNotStale) {
  mac_.fileManager.addFile(temporary + "/ta.key", "stale");
  mac_.fileManager.failing = {"copy " + components + "/ta.key to " + temporary + "/ta.key"};
  install();
  EXPECT_EQ(staged("ta.key"), std::nullopt);
  EXPECT_EQ(staged("login.conf"), "login.conf");
}

TEST_F(HelperInstallation, ASuccessfulReplyWritesTheAuthorizationThenPostsItsLineAndThenTheInstalledWindow) {
  install();
  mac_.journal.clear();
  reply(std::nullopt);
  EXPECT_EQ(mac_.journal, (Journal{"console (null)", "addOperation", "dispatchAsync"}));
  EXPECT_FALSE(mac_.delegate->installed) << "the reply comes on another thread";
  EXPECT_EQ(log(), "success\n");
  EXPECT_TRUE(mac_.delegate->installed);
  EXPECT_EQ(mac_.delegate->title, "Launch Quillmark");
}

TEST_F(HelperInstallation, AFailedReplyWritesTheAuthorizationThenItsErrorLineAndLeavesTheWindowAndWhatWasStaged) {
  install();
  mac_.journal.clear();
  reply(Error{.domain = "NSOSStatusErrorDomain", .code = -60005, .localizedDescription = "denied"});
  EXPECT_EQ(mac_.journal, (Journal{"console (null)", "addOperation"}));
  EXPECT_EQ(log(), "error NSOSStatusErrorDomain / -60005\n");
  EXPECT_FALSE(mac_.delegate->installed);
  EXPECT_EQ(mac_.delegate->title, std::nullopt);
  EXPECT_EQ(staged("ca.crt"), "ca.crt");
}

TEST_F(HelperInstallation, TheAuthorizationIsReadWhenItIsWrittenWhenItIsSentAndWhenTheReplyArrives) {
  const auto authorize = [&](const std::string &text) {
    mac_.delegate->externalAuthorization = std::make_shared<fake::FakeData>(text);
  };
  authorize("<00>");
  mac_.helperConnections.whenConnecting = [&] { authorize("<01>"); };
  install();
  EXPECT_EQ(mac_.journal.back(), "send install /var/folders/T/ with <01>");
  authorize("<02>");
  reply(std::nullopt);
  EXPECT_EQ(mac_.console.lines, (std::vector<std::string>{"<00>", "<02>"}));
}

TEST_F(HelperInstallation, AnUndeliveredCommandLogsItsErrorAndWritesTheAuthorizationOnlyOnce) {
  install();
  mac_.helperConnections.helper.sent.front().errorHandler(
      {.domain = "NSCocoaErrorDomain", .code = 4099, .localizedDescription = ""});
  EXPECT_EQ(log(), "error NSCocoaErrorDomain / 4099\n");
  EXPECT_EQ(mac_.console.lines, std::vector<std::string>{"(null)"});
  EXPECT_FALSE(mac_.delegate->installed);
}

TEST_F(HelperInstallation, TheReplyKeepsTheDelegateAliveUntilItHasRun) {
  install();
  const std::weak_ptr<Delegate> delegate = mac_.delegate;
  mac_.delegate->connection = nullptr;
  mac_.delegate.reset();
  EXPECT_FALSE(delegate.expired());
  reply(std::nullopt);
  mac_.mainQueue.run();
  EXPECT_TRUE(delegate.expired());
}

}  // namespace

}  // namespace quillmark
