#include "install/marker_file.hpp"

#include <algorithm>

#include "fuzz/subject.hpp"
#include "support/fake_mac.hpp"

namespace quillmark::fuzz {

namespace {

const std::string folder = "/Users/ann/Quillmark_Components";
const std::string marker = folder + "/installationHelper.txt";
const std::string older = "of an earlier installation";

std::vector<std::string> lines(const std::string &text) {
  std::vector<std::string> found{""};
  for (const char byte : text) {
    if (byte == '\n') {
      found.emplace_back();
    } else {
      found.back() += byte;
    }
  }
  return found;
}

}  // namespace

void check(const Texts &texts) {
  const std::string partnerID = at(texts, 0);
  const std::string teamID = at(texts, 1);
  fake::FakeMac mac;
  mac.fileManager.addFile(marker, older);
  mac.userDefaults.values = {{"partnerID", partnerID}, {"teamID", teamID}};
  const auto before = mac.fileManager.tree("/");

  writeToTextFileRMM(mac.mac());
  const std::string managed = mac.fileManager.at(marker).value_or("");
  if (isASCII(partnerID) && isASCII(teamID)) {
    // A reader takes the first line and the last as they are, and what is between them for the identifiers, of which
    // it can tell where one ends unless there is a line feed in them.
    const auto read = lines(managed);
    const auto lineFeeds = static_cast<std::size_t>(std::count(managed.begin(), managed.end(), '\n'));
    EXPECT_EQ(managed.size(), 9 + partnerID.size() + teamID.size());
    EXPECT_EQ(read.size(), lines(partnerID).size() + lines(teamID).size() + 2);
    EXPECT_EQ(read.size(), lineFeeds + 1);
    EXPECT_EQ(read.front(), "Rmm");
    EXPECT_EQ(read.back(), "yes");
    if (read.size() == 4) {
      EXPECT_EQ(read[1], partnerID);
      EXPECT_EQ(read[2], teamID);
    }
  } else {
    EXPECT_EQ(managed, older) << "there is a whole new marker or the one before";
  }

  writeToTextFile(mac.mac());
  EXPECT_EQ(mac.fileManager.at(marker), "Device\nyes") << "the identifiers stay out of it";
  EXPECT_EQ(mac.fileManager.tree("/"), before) << "nothing else is written";
}

}  // namespace quillmark::fuzz
