#include "install/installation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "app/launch_mode.hpp"
#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const std::string installer = "/Volumes/Quillmark Installer/Quillmark Installer.app";
const std::string resources = installer + "/Contents/Resources";
const std::string components = "/Volumes/Quillmark Installer/components";
const std::string staging = "/Users/ann/Quillmark_Components";
const std::string systemCopy = "/Applications/Quillmark.app";
const std::string userCopy = "/Users/ann/Applications/Quillmark.app";
const std::string temporaryGuard = "/var/folders/T/QuillmarkGuard";
const std::string release = "sh " + fake::releaseCommand;

/// What both installations do on a clean account, from the components check to the last separator line.
const Journal sequence = {
    "exists " + components,
    "exists " + staging,
    "create " + staging,
    "console Directory Created",
    "remove " + systemCopy,
    "remove " + userCopy,
    "console ----------------------------",
    "write " + staging + "/installationHelper.txt",
    "copy " + resources + "/Quillmark.app to " + systemCopy,
    "copy " + resources + "/Quillmark.app to " + userCopy,
    "copy " + resources + "/client.up.tunnelblick.sh to " + staging + "/client.up.tunnelblick.sh",
    "copy " + resources + "/client.down.tunnelblick.sh to " + staging + "/client.down.tunnelblick.sh",
    release,
    "remove " + temporaryGuard,
    "console [pathToComponents stringByAppendingPathComponent:newPath]  " + components +
        "/WGComponents/Sonoma/QuillmarkGuard",
    "copy " + components + "/WGComponents/Sonoma/QuillmarkGuard to " + temporaryGuard,
    "console -------------------------",
    "sh " + fake::shellCopy,
    "console -------------------",
};

Journal thenTheWindowUpdate(Journal journal) {
  journal.emplace_back("dispatchAsync");
  return journal;
}

Journal thenTheEnd(Journal journal) {
  journal.emplace_back("terminate");
  return journal;
}

class Installation : public testing::Test {
 protected:
  Installation() { fake::expectShellCommands(mac_); }

  void install() { installQuillmarkApplication(mac_.mac(), mac_.delegate); }
  void installManaged() { installQuillmarkApplicationRMM(mac_.mac(), mac_.delegate); }
  std::optional<std::string> at(const std::string &path) { return mac_.fileManager.at(path); }
  bool logged(const std::string &line) { return fake::contains(mac_.console.lines, line); }

  FakeMac mac_;
};

TEST_F(Installation, AnInteractiveInstallationPlacesEverythingInOrderAndThenPostsTheWindowUpdate) {
  install();
  EXPECT_EQ(mac_.journal, thenTheWindowUpdate(sequence));
  EXPECT_EQ(at(staging + "/installationHelper.txt"), fake::interactiveMarker);
  EXPECT_EQ(at(temporaryGuard), "guard for Sonoma");
}

TEST_F(Installation, AManagedInstallationDiffersInTheMarkerAndTheEndOnly) {
  mac_.userDefaults.values = {{"partnerID", "P1"}, {"teamID", "T2"}};
  installManaged();
  EXPECT_EQ(mac_.journal, thenTheEnd(sequence));
  EXPECT_EQ(at(staging + "/installationHelper.txt"), fake::managedMarker("P1", "T2"));
  mac_.userDefaults.values["teamID"] = "T3";
  installManaged();
  EXPECT_EQ(at(staging + "/installationHelper.txt"), fake::managedMarker("P1", "T3"));
  mac_.mainQueue.run();
  EXPECT_FALSE(mac_.delegate->installed);
}

TEST_F(Installation, AManagedLaunchMakesTheCallsOfTheInstallationAndNoOther) {
  mac_.userDefaults.values = {{"partnerID", "P1"}, {"teamID", "T2"}};
  applicationDidFinishLaunching(mac_.mac(), mac_.delegate);

  Journal whole = thenTheEnd(sequence);
  whole.insert(whole.begin(), "isRMMLaunch = 1");
  EXPECT_EQ(mac_.journal, whole);
  EXPECT_EQ(mac_.userDefaults.asked, (std::vector<std::string>{"has teamID", "has partnerID", "partnerID", "teamID"}));
  EXPECT_TRUE(mac_.mainBundle.lookedUp.empty()) << "a text was translated that nobody sees";
}

TEST_F(Installation, ANewerSystemIsAskedForARelocationBeforeTheCheckAndAgainBetweenTheScriptsAndTheRelease) {
  mac_.application.version = 2487.0;
  Journal expected = thenTheWindowUpdate(sequence);
  for (const std::string &next : {"exists " + components, release}) {
    const Journal asking = {"dlopen /System/Library/Frameworks/Security.framework/Security",
                            "dlsym SecTranslocateIsTranslocatedURL", "dlclose"};
    expected.insert(std::find(expected.begin(), expected.end(), next), asking.begin(), asking.end());
  }
  install();
  EXPECT_EQ(mac_.journal, expected);
}

TEST_F(Installation, WithoutAComponentsFolderTheAlertIsShownAndTheApplicationEndsBeforeAnyFileIsTouched) {
  (void)mac_.fileManager.removeItemAtPath(components);
  mac_.journal.clear();
  const auto before = mac_.fileManager.tree("/");
  const Journal expected = {"exists " + components, "alert Quillmark Installer Error", "terminate"};

  install();
  EXPECT_EQ(mac_.journal, expected);
  mac_.journal.clear();
  installManaged();
  EXPECT_EQ(mac_.journal, expected);

  EXPECT_EQ(mac_.fileManager.tree("/"), before);
}

TEST_F(Installation, WhatLiesAtItsPlacesIsReplacedWithTheUsersAdditions) {
  for (const std::string &place : {systemCopy, userCopy, staging}) mac_.fileManager.addFile(place + "/old", "old");
  install();
  for (const std::string &place : {systemCopy, userCopy, staging}) EXPECT_EQ(at(place + "/old"), std::nullopt);
  for (const std::string &copy : {systemCopy, userCopy}) EXPECT_EQ(at(copy + "/Contents/Info.plist"), "the client");
  EXPECT_TRUE(logged("Directory Created"));
}

TEST_F(Installation, APlainFileAtTheStagingFoldersPathIsReplacedByAFolder) {
  mac_.fileManager.addFile(staging, "a file");
  install();
  EXPECT_EQ(at(staging), "folder");
}

TEST_F(Installation, AStagingFolderThatCannotBeRemovedIsKeptAndNeitherLineIsLogged) {
  mac_.fileManager.addFile(staging + "/installationHelper.txt", "old marker");
  mac_.fileManager.addFile(staging + "/client.up.tunnelblick.sh", "old up");
  mac_.fileManager.addFile(staging + "/mine", "mine");
  mac_.fileManager.failing = {"remove " + staging};

  install();

  EXPECT_FALSE(logged("Directory Created"));
  EXPECT_FALSE(logged("Directory Creation Failed"));
  EXPECT_FALSE(fake::contains(mac_.journal, "create " + staging));
  EXPECT_EQ(at(staging + "/mine"), "mine");
  EXPECT_EQ(at(staging + "/installationHelper.txt"), fake::interactiveMarker);
  EXPECT_EQ(at(staging + "/client.up.tunnelblick.sh"), "old up");
  EXPECT_EQ(at(staging + "/client.down.tunnelblick.sh"), "down");
  EXPECT_EQ(mac_.journal.back(), "dispatchAsync");
}

TEST_F(Installation, AUserWithoutAnApplicationsFolderGetsOnlyTheSystemCopyAndNoFolderIsCreated) {
  (void)mac_.fileManager.removeItemAtPath("/Users/ann/Applications");
  install();
  EXPECT_EQ(at(systemCopy + "/Contents/Info.plist"), "the client");
  EXPECT_EQ(at("/Users/ann/Applications"), std::nullopt);
  EXPECT_EQ(mac_.journal.back(), "dispatchAsync");
}

TEST_F(Installation, AReleaseWithoutAComponentLeavesNoTemporaryCopyAndTheRestStands) {
  mac_.shellTask.outputs[fake::releaseCommand] = "Cheetah\n";
  mac_.fileManager.addFile(temporaryGuard, "of an earlier run");
  install();
  EXPECT_EQ(at(temporaryGuard), std::nullopt);
  EXPECT_EQ(at(systemCopy + "/Contents/Info.plist"), "the client");
  EXPECT_EQ(mac_.journal.back(), "dispatchAsync");
}

TEST_F(Installation, AReleaseThatIsNotUTF8IsLookedForUnderTheNullPlaceholder) {
  mac_.shellTask.outputs[fake::releaseCommand] = "\xFF\n";
  install();
  EXPECT_TRUE(logged("[pathToComponents stringByAppendingPathComponent:newPath]  " + components +
                     "/WGComponents/(null)/QuillmarkGuard"));
}

TEST_F(Installation, BlanksAndShellCharactersInThePathsReachTheShellUnquoted) {
  mac_.directories.home = "/Users/ann lee;x";
  mac_.directories.temporary = "/tmp/a b/";
  const std::string broken = "cp -R /tmp/a b/QuillmarkGuard /Users/ann lee;x/Quillmark_Components";
  mac_.shellTask.outputs[broken] = "";
  install();
  EXPECT_TRUE(fake::contains(mac_.journal, "sh " + broken));
  EXPECT_EQ(mac_.journal.back(), "dispatchAsync");
}

TEST_F(Installation, OnARelocatedInstallerTheComponentComesFromBesideTheOriginal) {
  const std::string download = "/Users/ann/Downloads/Quillmark";
  mac_.application.version = 2487.0;
  mac_.dynamicLoader.flag = true;
  mac_.dynamicLoader.originalPath = download + "/Quillmark Installer.app";
  mac_.fileManager.addFile(download + "/components/WGComponents/Sonoma/QuillmarkGuard", "beside the original");
  install();
  EXPECT_EQ(at(temporaryGuard), "beside the original");
  EXPECT_EQ(fake::FakeURLs::alive, 0);
}

TEST_F(Installation, AnOriginalThatIsLostAfterTheCheckLeavesTheComponentOut) {
  // The system is asked twice, and may answer otherwise the second time.
  mac_.application.version = 2487.0;
  mac_.dynamicLoader.flag = true;
  mac_.dynamicLoader.originalPath = installer;
  mac_.mainBundle.whenAskedForAResource = [&] { mac_.dynamicLoader.originalPath = std::nullopt; };
  install();
  EXPECT_TRUE(logged("[pathToComponents stringByAppendingPathComponent:newPath]  (null)"));
  EXPECT_EQ(at(temporaryGuard), std::nullopt);
}

TEST_F(Installation, AMissingBundleResourceFailsOnlyItsOwnCopy) {
  mac_.mainBundle.resources.erase("Quillmark.app");
  install();
  EXPECT_EQ(at(systemCopy), std::nullopt);
  EXPECT_EQ(at(staging + "/client.up.tunnelblick.sh"), "up");
  EXPECT_EQ(mac_.journal.back(), "dispatchAsync");
}

TEST_F(Installation, AProbeThatFailsStopsTheSequence) {
  mac_.shellTask.outputs[fake::releaseCommand] = "";
  EXPECT_THROW(install(), std::out_of_range);
  EXPECT_EQ(at(systemCopy + "/Contents/Info.plist"), "the client");
  EXPECT_EQ(mac_.journal.back(), release);
  mac_.shellTask.shellIsMissing = true;
  EXPECT_THROW(install(), TaskLaunchError);
  EXPECT_EQ(mac_.journal.back(), release);
}

TEST_F(Installation, AManagedRunWhoseProbeFailsSaysWhyAndEnds) {
  mac_.shellTask.outputs[fake::releaseCommand] = "";
  installManaged();
  EXPECT_EQ(
      Journal(mac_.journal.end() - 3, mac_.journal.end()),
      (Journal{release, "console the command printed nothing, so there is no last character to drop", "terminate"}));
  mac_.shellTask.shellIsMissing = true;
  installManaged();
  EXPECT_EQ(Journal(mac_.journal.end() - 3, mac_.journal.end()),
            (Journal{release, "console launch path not accessible", "terminate"}));
  EXPECT_EQ(at(systemCopy + "/Contents/Info.plist"), "the client");
}

TEST_F(Installation, TheWindowUpdateIsPostedWhateverTheFileOperationsDid) {
  for (const std::string &call : sequence) {
    if (call != "exists " + components) mac_.fileManager.failing.insert(call);
  }
  install();
  mac_.mainQueue.run();
  EXPECT_TRUE(mac_.delegate->installed);
}

/// Each file operation of the sequence fails alone, as does the shell that is to copy, and the sequence goes on: it
/// differs only in what the failure itself changes.
void expectNoFailureToStop(void (*install)(const Mac &, const DelegatePtr &), Journal (*then)(Journal)) {
  Journal whole = sequence;
  whole.insert(std::find(whole.begin(), whole.end(), "create " + staging), "remove " + staging);
  for (const std::string &call : whole) {
    if (call.rfind("console", 0) == 0 || call == release || call == "exists " + components) continue;
    SCOPED_TRACE(call);
    // Everything is there from an earlier installation, so that no operation fails by itself.
    FakeMac mac;
    fake::expectShellCommands(mac);
    for (const std::string &item : {systemCopy, userCopy, staging}) mac.fileManager.addFile(item + "/old", "old");
    mac.fileManager.addFile(temporaryGuard, "old");
    mac.fileManager.failing = {call};
    if (call == "sh " + fake::shellCopy) mac.shellTask.notStarting = {fake::shellCopy};

    Journal expected = whole;
    const auto created = std::find(expected.begin(), expected.end(), "console Directory Created");
    if (call == "exists " + staging) expected.erase(created - 2);
    if (call == "create " + staging) *created = "console Directory Creation Failed";
    if (call == "remove " + staging) expected.erase(created - 1, created + 1);
    install(mac.mac(), mac.delegate);
    EXPECT_EQ(mac.journal, then(expected));
  }
}

TEST(OneFailure, StopsNoInteractiveInstallation) {
  expectNoFailureToStop(installQuillmarkApplication, thenTheWindowUpdate);
}

TEST(OneFailure, StopsNoManagedInstallation) { expectNoFailureToStop(installQuillmarkApplicationRMM, thenTheEnd); }

}  // namespace

}  // namespace quillmark
