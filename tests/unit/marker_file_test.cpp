#include "install/marker_file.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

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

TEST_F(MarkerFile, TheInteractiveMarkerIsDeviceAndYesWhateverTheDefaultsHold) {
  EXPECT_EQ(interactive(), "Device\nyes");
  setDefaults("P1", "T2");
  EXPECT_EQ(interactive(), "Device\nyes");
  EXPECT_EQ(interactive()->size(), 10U);
}

TEST_F(MarkerFile, TheInteractiveMarkerIsWrittenEvenIfADefaultIsNotASCII) {
  setDefaults("\u00e9", "\u00e9");
  EXPECT_EQ(interactive(), "Device\nyes");
}

TEST_F(MarkerFile, AManagedMarkerCarriesRmmThenThePartnerThenTheTeamThenYes) {
  setDefaults("P1", "T2");
  EXPECT_EQ(managed(), "Rmm\nP1\nT2\nyes");
  EXPECT_EQ(managed()->size(), 13U);
}

TEST_F(MarkerFile, ANumericDefaultIsWrittenInDecimal) {
  setDefaults("42", "007");
  EXPECT_EQ(managed(), "Rmm\n42\n007\nyes");
}

TEST_F(MarkerFile, AnEmptyStringDefaultLeavesItsLineEmpty) {
  setDefaults("", "T2");
  EXPECT_EQ(managed(), "Rmm\n\nT2\nyes");
  setDefaults("P1", "");
  EXPECT_EQ(managed(), "Rmm\nP1\n\nyes");
}

TEST_F(MarkerFile, ALineFeedInADefaultAddsALineAndNothingIsEscaped) {
  setDefaults("P\n1\\", "\"T\"");
  EXPECT_EQ(managed(), "Rmm\nP\n1\\\n\"T\"\nyes");
}

TEST_F(MarkerFile, ANonASCIIDefaultLeavesNoManagedMarkerAtAll) {
  setDefaults("caf\u00e9", "T2");
  EXPECT_EQ(managed(), std::nullopt);
  setDefaults("P1", "caf\u00e9");
  EXPECT_EQ(managed(), std::nullopt);
}

TEST_F(MarkerFile, ALoneSurrogateInADefaultLeavesNoManagedMarkerAtAll) {
  setDefaults("P\xED\xA0\x80", "T2");
  EXPECT_EQ(managed(), std::nullopt);
}

TEST_F(MarkerFile, ANonASCIIDefaultLeavesAnOlderMarkerAsItWas) {
  mac_.fileManager.addFile(marker, "older");
  setDefaults("caf\u00e9", "T2");
  EXPECT_EQ(managed(), "older");
}

TEST_F(MarkerFile, AnAbsentDefaultIsWrittenAsTheNullPlaceholder) { EXPECT_EQ(managed(), "Rmm\n(null)\n(null)\nyes"); }

TEST_F(MarkerFile, AnExistingMarkerIsOverwritten) {
  mac_.fileManager.addFile(marker, "a much longer marker of another release");
  EXPECT_EQ(interactive(), "Device\nyes");
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
