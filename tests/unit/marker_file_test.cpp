#include "install/marker_file.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"
#include "support/installed.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;

const std::string folder = "/Users/ann/Quillmark_Components";
const std::string marker = folder + "/installationHelper.txt";

class MarkerFile : public testing::Test {
 protected:
  MarkerFile() { mac_.fileManager.addFolder(folder); }

  void setDefaults(const std::string &partnerID, const std::string &teamID) {
    mac_.userDefaults.values = {{"partnerID", partnerID}, {"teamID", teamID}};
  }

  std::optional<std::string> interactive() {
    writeToTextFile(mac_.mac());
    return mac_.fileManager.at(marker);
  }

  std::optional<std::string> managed() {
    writeToTextFileRMM(mac_.mac());
    return mac_.fileManager.at(marker);
  }

  FakeMac mac_;
};

TEST_F(MarkerFile, TheInteractiveMarkerIsTheSameWhateverTheDefaultsAndTheOldMarkerHold) {
  EXPECT_EQ(interactive(), fake::interactiveMarker);
  setDefaults("P1", "\u00e9");
  mac_.fileManager.addFile(marker, "a much longer marker of another release");
  EXPECT_EQ(interactive(), fake::interactiveMarker);
}

TEST_F(MarkerFile, AManagedMarkerCarriesThePartnerThenTheTeamAndNothingIsEscaped) {
  for (const auto &[partnerID, teamID] : {std::pair("P1", "T2"), std::pair("42", "007"), std::pair("", "T2"),
                                          std::pair("P1", ""), std::pair("P\n1\\", "\"T\"")}) {
    setDefaults(partnerID, teamID);
    EXPECT_EQ(managed(), fake::managedMarker(partnerID, teamID));
  }
}

TEST_F(MarkerFile, AnAbsentDefaultIsWrittenAsTheNullPlaceholder) {
  EXPECT_EQ(managed(), fake::managedMarker("(null)", "(null)"));
}

TEST_F(MarkerFile, ADefaultOutsideASCIILeavesNoManagedMarkerAndAnOlderOneAsItWas) {
  for (const auto &[partnerID, teamID] :
       {std::pair("caf\u00e9", "T2"), std::pair("P1", "caf\u00e9"), std::pair("P\xED\xA0\x80", "T2")}) {
    setDefaults(partnerID, teamID);
    EXPECT_EQ(managed(), std::nullopt);
  }
  mac_.fileManager.addFile(marker, "older");
  EXPECT_EQ(managed(), "older");
}

TEST_F(MarkerFile, WithoutTheStagingFolderThereIsNoMarkerAndNothingIsReported) {
  (void)mac_.fileManager.removeItemAtPath(folder);
  setDefaults("P1", "T2");
  EXPECT_EQ(interactive(), std::nullopt);
  EXPECT_EQ(managed(), std::nullopt);
  EXPECT_TRUE(mac_.console.lines.empty());
  EXPECT_TRUE(mac_.alertPanel.shown.empty());
}

TEST_F(MarkerFile, BothWritersReadThePartnerThenTheTeam) {
  const std::vector<std::string> expected = {"partnerID", "teamID"};
  interactive();
  EXPECT_EQ(mac_.userDefaults.asked, expected);
  mac_.userDefaults.asked.clear();
  managed();
  EXPECT_EQ(mac_.userDefaults.asked, expected);
}

}  // namespace

}  // namespace quillmark
